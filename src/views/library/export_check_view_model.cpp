// SPDX-License-Identifier: Apache-2.0

#include "views/library/export_check_view_model.h"

#include "base/display_text.h"
#include "drift/export_check_text.h"
#include "media/editor_notes.h"
#include "store/app_store.h"

#include <QClipboard>
#include <QGuiApplication>

using namespace Qt::StringLiterals;

namespace vorn {

namespace {

QString heardIcon(const ClipCheck &clip)
{
    using enum TimingWitness::Verdict;
    const auto verdict = clip.sound ? clip.sound->verdict : cannotTell;
    return verdict == holds ? u"check"_s : verdict == doubts ? u"warning"_s : u"dashed-circle"_s;
}

} // namespace

ExportCheckViewModel::ExportCheckViewModel(AppStore &store)
    : m_store(store),
      m_cameras({{"cameraId", &ExportCheckRow::cameraId},
                 {"findings", &ExportCheckRow::findings},
                 {"figures", &ExportCheckRow::figures},
                 {"notes", &ExportCheckRow::notes},
                 {"picture", &ExportCheckRow::picture},
                 {"heard", &ExportCheckRow::heard},
                 {"heardIcon", &ExportCheckRow::heardIcon}})
{
    for (const auto signal : {&AppStore::libraryChanged, &AppStore::selectedProjectIDChanged,
                              &AppStore::selectedTakeIDChanged, &AppStore::isBusyChanged,
                              &AppStore::exportCheckChanged})
        connect(&store, signal, this, &ExportCheckViewModel::refresh);
}

QString ExportCheckViewModel::obstacle() const
{
    if (!m_store.selectedTake())
        return u"No take is selected."_s;
    if (m_store.isBusy())
        return u"Another operation is running."_s;
    return {};
}

bool ExportCheckViewModel::isRunning() const
{
    return m_store.longWork() == LongWork::checkingExport;
}

bool ExportCheckViewModel::isGood() const
{
    const ExportCheck *check = result();
    return check && check->findings.empty();
}

QString ExportCheckViewModel::takeTitle() const
{
    const VORNTake *take = m_store.selectedTake();
    return take ? u"Take "_s + displayText(take->id) : QString();
}

QString ExportCheckViewModel::summary() const
{
    if (isRunning())
        return u"Reading every recording and checking what an export would refuse…"_s;
    if (const ExportCheck *check = result())
        return summaryOf(*check);
    return m_store.selectedTake() ? u"This take has not been checked, or has changed since."_s
                                  : u"No take is selected."_s;
}

QList<QString> ExportCheckViewModel::takeFindings() const
{
    const ExportCheck *check = result();
    return check ? findingsOf(*check, {}) : QList<QString>();
}

const ExportCheck *ExportCheckViewModel::result() const
{
    return m_store.selectedExportCheck();
}

void ExportCheckViewModel::check()
{
    if (isAvailable())
        m_store.checkSelectedTake();
}

void ExportCheckViewModel::cancel()
{
    m_store.cancelExport();
}

void ExportCheckViewModel::copyReport()
{
    if (const ExportCheck *check = result())
        QGuiApplication::clipboard()->setText(
            exportCheckReport(*check, u"VORN Desktop %1, check of an export, take %2"_s.arg(
                                          QCoreApplication::applicationVersion(),
                                          displayText(m_store.selectedTake()->id))));
}

void ExportCheckViewModel::refresh()
{
    std::vector<ExportCheckRow> rows;
    if (const ExportCheck *check = result()) {
        for (std::size_t index = 0; index < check->clips.size(); ++index) {
            const ClipCheck &clip = check->clips[index];
            rows.push_back({.key = QString::number(index) + clip.clipId,
                            .cameraId = displayText(clip.cameraId),
                            .findings = findingsOf(*check, index),
                            .figures = figuresOf(clip, check->fps),
                            .notes = clip.media ? editorNotes(*clip.media) : QStringList(),
                            .picture = pictureInWords(clip),
                            .heard = clip.sound ? clip.sound->sentence : QString(),
                            .heardIcon = heardIcon(clip)});
        }
    }
    m_cameras.setRows(std::move(rows));
    Q_EMIT changed();
}

} // namespace vorn
