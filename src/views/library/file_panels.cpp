// SPDX-License-Identifier: Apache-2.0

#include "views/library/file_panels.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QWindow>

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

void openPanel(QFileDialog *panel, QWindow *window)
{
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setSupportedSchemes({u"file"_s});
    panel->winId(); // makes the window that the next line needs
    panel->windowHandle()->setTransientParent(window);
    panel->open();
}

void openPanel(QFileDialog *panel, QWindow *window, const PathChosen &chosen)
{
    // Not urlSelected: Qt's own dialog does not emit it. This one speaks of local files only.
    QObject::connect(panel, &QFileDialog::fileSelected, panel, chosen);
    openPanel(panel, window);
}

} // namespace

void openManifestPanel(QWindow *window, const QString &folder, const PathChosen &chosen)
{
    auto *panel = new QFileDialog(nullptr, u"Import VORN Source Manifest"_s, folder);
    panel->setAcceptMode(QFileDialog::AcceptOpen);
    panel->setFileMode(QFileDialog::ExistingFile);
    panel->setNameFilter(u"JSON (*.json)"_s);
    openPanel(panel, window, chosen);
}

void openExportPanel(QWindow *window, const QString &folder, const PathChosen &chosen)
{
    auto *panel = new QFileDialog(nullptr, u"Choose Parent Folder for Resolve Export"_s, folder);
    panel->setAcceptMode(QFileDialog::AcceptOpen);
    panel->setFileMode(QFileDialog::Directory);
    panel->setOption(QFileDialog::ShowDirsOnly);
    openPanel(panel, window, chosen);
}

void openChecksumPanel(QWindow *window, const QString &path, const PathChosen &chosen)
{
    auto *panel = new QFileDialog(nullptr, u"Save Checksums"_s);
    panel->setAcceptMode(QFileDialog::AcceptSave);
    panel->setFileMode(QFileDialog::AnyFile);
    panel->setNameFilters({u"Checksums (*.sha256)"_s, u"All files (*)"_s});
    panel->setDirectory(QFileInfo(path).path());
    panel->selectFile(QFileInfo(path).fileName());
    openPanel(panel, window, chosen);
}

void openMoviePanel(QWindow *window, const QString &folder,
                    const std::function<void(const QStringList &)> &chosen)
{
    auto *panel = new QFileDialog(nullptr, u"Import Movies"_s, folder);
    panel->setAcceptMode(QFileDialog::AcceptOpen);
    panel->setFileMode(QFileDialog::ExistingFiles);
    panel->setNameFilters(
        {u"Movies (*.mov *.mp4 *.m4v *.3gp *.MOV *.MP4 *.M4V *.3GP)"_s, u"All files (*)"_s});
    QObject::connect(panel, &QFileDialog::filesSelected, panel, chosen);
    openPanel(panel, window);
}

} // namespace vorn
