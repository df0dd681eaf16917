// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "views/controls/row_list_model.h"
#include "views/help/folder_view_model.h"
#include "views/help/help_document.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

class QSettings;

namespace vorn {

class AppStore;

/// A page, by what is in it.
struct HelpPageRow {
    QString key; ///< the file of a page of the guide; otherwise a name of ours
    QString title;
    QString section;

    bool operator==(const HelpPageRow &) const = default;
};

/// What the Help window shows, and the folders, which Settings shows too. Context: UI thread.
class HelpViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the program.")
    Q_PROPERTY(QAbstractItemModel *pages READ pages CONSTANT)
    Q_PROPERTY(int selectedIndex READ selectedIndex NOTIFY selected)
    Q_PROPERTY(QString title READ title NOTIFY selected)
    Q_PROPERTY(QString richText READ richText NOTIFY selected)
    Q_PROPERTY(QString plainText READ plainText NOTIFY selected)
    Q_PROPERTY(bool showsFolders READ showsFolders NOTIFY selected)
    Q_PROPERTY(int readingWidth READ widestLine CONSTANT)
    Q_PROPERTY(vorn::FolderViewModel *recordingsFolder READ recordingsFolder CONSTANT)
    Q_PROPERTY(vorn::FolderViewModel *libraryFolder READ libraryFolder CONSTANT)
    Q_PROPERTY(vorn::FolderViewModel *settingsFolder READ settingsFolder CONSTANT)
public:
    HelpViewModel(const AppStore &store, const QSettings &settings);

    [[nodiscard]] QAbstractItemModel *pages() { return &m_pages; }
    [[nodiscard]] int selectedIndex() const { return m_selectedIndex; }
    [[nodiscard]] QString title() const;
    /// Of the selected page; empty where that is plain or shows the folders.
    [[nodiscard]] const QString &richText() const { return m_document.html; }
    [[nodiscard]] const QString &plainText() const { return m_document.plain; }
    [[nodiscard]] bool showsFolders() const;
    [[nodiscard]] static int widestLine() { return readingWidth; }
    [[nodiscard]] FolderViewModel *recordingsFolder() { return &m_recordingsFolder; }
    [[nodiscard]] FolderViewModel *libraryFolder() { return &m_libraryFolder; }
    [[nodiscard]] FolderViewModel *settingsFolder() { return &m_settingsFolder; }

    Q_INVOKABLE void select(int row);
    /// Follows a link in a page of the guide: to another page, or to where the desktop opens it.
    Q_INVOKABLE void follow(const QString &link);
    /// Puts the selected page on the clipboard, as plain text.
    Q_INVOKABLE void copy() const;
    Q_INVOKABLE void lookAtFolders();

Q_SIGNALS:
    void selected();

private:
    [[nodiscard]] HelpDocument document(const QString &page) const;
    [[nodiscard]] HelpDocument foldersDocument() const;

    FolderViewModel m_recordingsFolder;
    FolderViewModel m_libraryFolder;
    FolderViewModel m_settingsFolder;
    RowListModel<HelpPageRow> m_pages;
    int m_selectedIndex = 0;
    HelpDocument m_document;
};

} // namespace vorn
