// SPDX-License-Identifier: Apache-2.0

#include "views/help/help_view_model.h"

#include "base/files.h"
#include "store/app_store.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QSettings>
#include <QUrl>

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

constexpr auto shortcuts = "shortcuts"_L1;
constexpr auto folders = "folders"_L1;
constexpr auto versions = "versions"_L1;
constexpr auto licences = "licences"_L1;

std::vector<HelpPageRow> allPages()
{
    std::vector<HelpPageRow> pages;
    for (const GuidePage &page : guidePages())
        pages.push_back({page.file, page.title, u"GUIDE"_s});
    const auto program = u"PROGRAM"_s;
    pages.push_back({shortcuts, u"Keyboard shortcuts"_s, program});
    pages.push_back({folders, u"Where files lie"_s, program});
    pages.push_back({versions, u"Versions"_s, program});
    pages.push_back({licences, u"Licences"_s, program});
    return pages;
}

} // namespace

HelpViewModel::HelpViewModel(const AppStore &store, const QSettings &settings)
    : m_recordingsFolder(u"Verified recordings"_s, u"Movies/VORN"_s, store.recordingsDirectory()),
      m_libraryFolder(u"Library"_s, u"Library/Application Support/VORN"_s,
                      store.supportDirectory()),
      m_settingsFolder(u"Settings"_s, {}, folderOf(settings.fileName())),
      m_pages({{"title", &HelpPageRow::title}, {"section", &HelpPageRow::section}})
{
    m_pages.setRows(allPages());
    select(0);
}

QString HelpViewModel::title() const
{
    return m_pages.rows()[std::size_t(m_selectedIndex)].title;
}

bool HelpViewModel::showsFolders() const
{
    return m_pages.rows()[std::size_t(m_selectedIndex)].key == folders;
}

void HelpViewModel::select(int row)
{
    const HelpPageRow *page = m_pages.at(row);
    if (!page)
        return;
    m_selectedIndex = row;
    m_document = document(page->key);
    lookAtFolders();
    Q_EMIT selected();
}

void HelpViewModel::follow(const QString &link)
{
    const int page = m_pages.indexOf(link);
    if (page >= 0)
        select(page);
    else
        QDesktopServices::openUrl(QUrl(link));
}

void HelpViewModel::copy() const
{
    QGuiApplication::clipboard()->setText(m_document.plain);
}

void HelpViewModel::lookAtFolders()
{
    for (FolderViewModel *folder : {&m_recordingsFolder, &m_libraryFolder, &m_settingsFolder})
        folder->look();
}

HelpDocument HelpViewModel::document(const QString &page) const
{
    if (page == shortcuts)
        return shortcutsDocument();
    if (page == folders)
        return foldersDocument();
    if (page == versions)
        return versionsDocument();
    if (page == licences)
        return licencesDocument();
    return guideDocument(page);
}

HelpDocument HelpViewModel::foldersDocument() const
{
    HelpDocument document;
    for (const FolderViewModel *folder : {&m_recordingsFolder, &m_libraryFolder, &m_settingsFolder})
        document.plain += folder->title() + u'\t' + folder->path() + u'\n';
    return document;
}

} // namespace vorn
