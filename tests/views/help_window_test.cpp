// SPDX-License-Identifier: Apache-2.0

// What is the same in all windows: help, settings, the keys; and how an empty program begins.

#include "views/controls/key_table.h"
#include "window_probe.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

const auto directorTitle = u"VORN Director"_s;
const auto libraryTitle = u"VORN Library"_s;
const auto settingsTitle = u"Settings"_s;
const auto helpTitle = u"VORN Help"_s;
const auto checkTitle = u"Check network"_s;
const auto programTitle = u"VORN Program"_s;

/// With all windows open.
struct OpenDesk : Desk {
    OpenDesk()
    {
        windows.showDirector();
        windows.showProgram();
        windows.showLibrary();
        windows.showSettings();
        windows.showHelp();
        windows.showNetworkCheck();
    }
};

void collectKeys(QObject *object, QSet<QString> &keys)
{
    if (object->inherits("QQuickShortcut"))
        keys += object->property("sequence").toString();
    for (QObject *child : object->children())
        collectKeys(child, keys);
    if (auto *item = qobject_cast<QQuickItem *>(object)) {
        for (QQuickItem *child : item->childItems())
            collectKeys(child, keys);
    }
}

/// What a window binds.
QSet<QString> keysOf(const QString &title)
{
    QSet<QString> keys;
    QQuickWindow *window = shownWindow(title);
    collectKeys(window, keys);
    collectKeys(window->contentItem(), keys);
    return keys;
}

QSet<QString> listedKeys(const QList<KeyTable::Place> &places)
{
    QSet<QString> keys;
    for (const KeyTable::Row &row : KeyTable::rows()) {
        if (places.contains(row.place))
            keys += row.sequence.toString();
    }
    return keys;
}

} // namespace

class HelpWindowTest : public WindowTest {
    Q_OBJECT
private Q_SLOTS:
    void bindsTheKeysThatTheHelpLists()
    {
        using Place = KeyTable::Place;
        const QSet<QString> ofTheToolkit{KeyTable::sequence(KeyTable::NextControl),
                                         KeyTable::sequence(KeyTable::Work),
                                         KeyTable::sequence(KeyTable::Escape)};
        const QSet<QString> closing{KeyTable::sequence(KeyTable::Escape)};
        const OpenDesk desk;
        // Long pages and lists are everywhere.
        const QSet<QString> common = listedKeys({Place::everyWindow, Place::lists}) - ofTheToolkit;
        const QSet<QString> director = listedKeys({Place::director});
        const QSet<QString> library = listedKeys({Place::library});
        QCOMPARE(keysOf(directorTitle), common + director);
        QCOMPARE(keysOf(libraryTitle), common + library);
        const QSet<QString> elsewhere{KeyTable::sequence(KeyTable::FoldInspector),
                                      KeyTable::sequence(KeyTable::OpenProgram)};
        QCOMPARE(keysOf(programTitle), listedKeys({Place::everyWindow, Place::program})
                                           - ofTheToolkit + closing + director - elsewhere);
        QCOMPARE(keysOf(helpTitle), common + closing);
        QCOMPARE(keysOf(checkTitle), common + closing);
        QCOMPARE(keysOf(settingsTitle), listedKeys({Place::everyWindow}) - ofTheToolkit + closing);
    }

    void worksTheSameKeysInEachWindow_data()
    {
        QTest::addColumn<QString>("window");
        for (const QString &window :
             {directorTitle, libraryTitle, settingsTitle, helpTitle, checkTitle, programTitle})
            QTest::newRow(qPrintable(window)) << window;
    }

    void worksTheSameKeysInEachWindow()
    {
        QFETCH(const QString, window);
        const OpenDesk desk;
        for (const QString &other :
             {helpTitle, settingsTitle, directorTitle, libraryTitle, checkTitle}) {
            if (other != window && (other != directorTitle || window != programTitle))
                shownWindow(other)->close();
        }
        WindowHands hands(window);
        const std::vector<std::pair<QKeySequence, QString>> others{
            {Qt::Key_F1, helpTitle},
            {Qt::CTRL | Qt::Key_Comma, settingsTitle},
            {Qt::CTRL | Qt::SHIFT | Qt::Key_L, libraryTitle},
            {Qt::CTRL | Qt::SHIFT | Qt::Key_D, directorTitle}};
        for (const auto &[keys, other] : others) {
            QTest::keySequence(hands.window(), keys);
            QTRY_VERIFY2(shownWindow(other), qPrintable(other));
            hands.takeUp(window);
        }
        hands.press(Qt::Key_W, Qt::ControlModifier);
        QTRY_VERIFY(!shownWindow(window));
    }

    void helpsOverASheet()
    {
        Desk desk;
        desk.windows.showLibrary();
        WindowHands library(libraryTitle);
        library.press(Qt::Key_K, Qt::ControlModifier);
        QTRY_COMPARE(library.focusName(), u"Scan Again"_s);
        library.press(Qt::Key_F1);
        WindowHands(helpTitle).press(Qt::Key_Escape);
        QTRY_VERIFY(!shownWindow(helpTitle));
        QVERIFY(library.shows(u"Scan Again"_s));
    }

    void endsWithTheLastWindowButHelp()
    {
        Desk desk;
        desk.windows.showDirector();
        desk.windows.showHelp();
        QCOMPARE(runProgram([] { shownWindow(directorTitle)->close(); }), 0);
    }

    void showsEachPage()
    {
        Desk desk;
        desk.windows.showHelp();
        WindowHands help(helpTitle);
        const HelpViewModel model(desk.store, desk.settings);
        // By the keyboard alone, through pages that have what they show.
        QCOMPARE(help.focusName(), u"Pages"_s);
        const QDir guide(u":/guide"_s);
        QCOMPARE(guidePages().size(), std::size_t(guide.entryList({u"*.md"_s}).size() - 1));
        const QRegularExpression pictures(u"<img src=\"qrc:([^\"]+)\""_s);
        for (const GuidePage &page : guidePages()) {
            QTRY_VERIFY2(help.shows(page.title), qPrintable(page.title));
            const HelpDocument document = guideDocument(page.file);
            QVERIFY(help.shows(document.plain));
            for (auto i = pictures.globalMatch(document.html); i.hasNext();)
                QVERIFY2(QFile::exists(u':' + i.next().captured(1)), qPrintable(page.file));
            help.press(Qt::Key_Down);
        }
        const std::vector<std::pair<QString, QString>> rest{
            {u"Keyboard shortcuts"_s, u"Space\tCUT, wherever the keyboard is"_s},
            {u"Where files lie"_s, desk.folder.filePath(u"Videos"_s)},
            {u"Versions"_s, u"Qt\t"_s + QString::fromLatin1(qVersion())},
            {u"Licences"_s, u"Licensed under the Apache License, Version 2.0"_s}};
        for (const auto &[title, text] : rest) {
            help.click(help.named(title));
            help.click(help.named(u"Copy"_s));
            QVERIFY2(QGuiApplication::clipboard()->text().contains(text), qPrintable(title));
        }
    }

    void opensTheFoldersOfThisComputer()
    {
        Desk desk;
        desk.windows.showSettings();
        WindowHands settings(settingsTitle);
        QVERIFY(settings.shows(u"Verified recordings: ~/Movies/VORN"_s));
        QVERIFY(settings.shows(u"Library: ~/Library/Application Support/VORN"_s));
        QVERIFY(settings.shows(
            u"VORN never deletes phone recordings or overwrites an export directory."_s));
        QVERIFY(settings.shows(desk.folder.path()));
        // The first one, of the recordings, is made by the first download.
        QCOMPARE(descriptionOf(settings.named(u"Open Folder"_s)),
                 u"This folder is made when it is first needed."_s);
        QVERIFY(QDir(desk.folder.path()).mkdir(u"Videos"_s));
        desk.windows.showHelp();
        WindowHands{helpTitle}; // settings looks again when somebody comes back to it
        settings.takeUp(settingsTitle);
        QTRY_VERIFY(settings.named(u"Open Folder"_s)->isEnabled());
        m_opened.clear();
        QDesktopServices::setUrlHandler(u"file"_s, this, "takeUrl");
        settings.click(settings.named(u"Open Folder"_s));
        QTRY_COMPARE_WITH_TIMEOUT(m_opened, QUrl::fromLocalFile(desk.folder.filePath(u"Videos"_s)),
                                  limitMs);
        QDesktopServices::unsetUrlHandler(u"file"_s);

        // Where the computer's folder is the stated one there is nothing to add.
        const FolderViewModel same(u"Library"_s, u"Movies/VORN"_s,
                                   QDir::homePath() + u"/Movies/VORN"_s);
        QVERIFY(!same.differs());
    }

    void saysWhatToDoFirst()
    {
        for (const QByteArray &library : {"", R"({"projects": []})", "{"}) {
            Desk desk({}, library);
            const bool isReadable = library != "{";
            desk.windows.showDirector();
            desk.windows.showLibrary();
            const auto steps = u"FIRST STEPS"_s;
            const WindowHands director(directorTitle);
            WindowHands libraryWindow(libraryTitle);
            QCOMPARE(director.shows(steps), isReadable);
            QCOMPARE(libraryWindow.shows(steps), isReadable);
            desk.store.createProject(u"Night Shoot"_s);
            QTRY_VERIFY(!director.shows(steps) && !libraryWindow.shows(steps));
        }
    }

public Q_SLOTS:
    void takeUrl(const QUrl &url) { m_opened = url; } // NOLINT: called by its name

private:
    QUrl m_opened;
};

QTEST_MAIN(HelpWindowTest)
#include "help_window_test.moc"
