// SPDX-License-Identifier: Apache-2.0

// What is the same in all windows: help, settings, the keys; and how an empty program begins.

#include "support.h"
#include "views/controls/key_table.h"
#include "views/program_windows.h"
#include "window_probe.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QSettings>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

/// The program's windows over a library of their own.
struct Desk {
    explicit Desk(const QByteArray &library = {})
    {
        if (!library.isEmpty())
            writePlain(folder.filePath(u"library.json"_s), library);
        store.emplace(folder.path(), folder.filePath(u"Videos"_s));
        windows.emplace(*store, catalogs, cameras, settings);
    }

    /// Hands on the window of this title, once it is there.
    static WindowHands at(const QString &title)
    {
        WindowHands hands;
        if (!QTest::qWaitFor([&] { return shownWindow(title); }, limitMs))
            qFatal("%s does not open.", qPrintable(title));
        hands.takeUp(shownWindow(title));
        return hands;
    }

    QTemporaryDir folder;
    QSettings settings{folder.filePath(u"settings.ini"_s), QSettings::IniFormat};
    LANDiscovery catalogs;
    LiveCameraDiscovery cameras;
    std::optional<AppStore> store;
    std::optional<ProgramWindows> windows;
};

const auto directorTitle = u"VORN Director"_s;
const auto libraryTitle = u"VORN Library"_s;
const auto settingsTitle = u"Settings"_s;
const auto helpTitle = u"VORN Help"_s;
const auto checkTitle = u"Check network"_s;

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
        Desk desk;
        desk.windows->showLibrary();
        desk.windows->showDirector();
        desk.windows->showSettings();
        desk.windows->showHelp();
        desk.windows->showNetworkCheck();
        // Long pages and lists are everywhere.
        const QSet<QString> common = listedKeys({Place::everyWindow, Place::lists}) - ofTheToolkit;
        const QSet<QString> director = listedKeys({Place::director});
        const QSet<QString> library = listedKeys({Place::library});
        QCOMPARE(keysOf(directorTitle), common + director);
        QCOMPARE(keysOf(libraryTitle), common + library);
        const QSet<QString> closing{KeyTable::sequence(KeyTable::Escape)};
        QCOMPARE(keysOf(helpTitle), common + closing);
        QCOMPARE(keysOf(checkTitle), common + closing);
        QCOMPARE(keysOf(settingsTitle), listedKeys({Place::everyWindow}) - ofTheToolkit + closing);
    }

    void worksTheSameKeysInEachWindow_data()
    {
        QTest::addColumn<QString>("window");
        for (const QString &window :
             {directorTitle, libraryTitle, settingsTitle, helpTitle, checkTitle})
            QTest::newRow(qPrintable(window)) << window;
    }

    void worksTheSameKeysInEachWindow()
    {
        QFETCH(const QString, window);
        Desk desk;
        desk.windows->showDirector();
        desk.windows->showLibrary();
        desk.windows->showSettings();
        desk.windows->showHelp();
        desk.windows->showNetworkCheck();
        for (const QString &other :
             {helpTitle, settingsTitle, directorTitle, libraryTitle, checkTitle}) {
            if (other != window)
                shownWindow(other)->close();
        }
        WindowHands hands = Desk::at(window);
        hands.press(Qt::Key_F1);
        QTRY_VERIFY(shownWindow(helpTitle));
        hands = Desk::at(window);
        hands.press(Qt::Key_Comma, Qt::ControlModifier);
        QTRY_VERIFY(shownWindow(settingsTitle));
        hands = Desk::at(window);
        hands.press(Qt::Key_L, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_VERIFY(shownWindow(libraryTitle));
        hands = Desk::at(window);
        hands.press(Qt::Key_D, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_VERIFY(shownWindow(directorTitle));
        hands = Desk::at(window);
        QCOMPARE(accessibilityFaults(hands.window()), QString());
        hands.press(Qt::Key_W, Qt::ControlModifier);
        QTRY_VERIFY(!shownWindow(window));
    }

    void helpsOverASheet()
    {
        Desk desk;
        desk.windows->showLibrary();
        WindowHands library = Desk::at(libraryTitle);
        library.press(Qt::Key_K, Qt::ControlModifier);
        QTRY_COMPARE(library.focusName(), u"Scan Again"_s);
        library.press(Qt::Key_F1);
        Desk::at(helpTitle).press(Qt::Key_Escape);
        QTRY_VERIFY(!shownWindow(helpTitle));
        QVERIFY(library.shows(u"Scan Again"_s));
    }

    void endsWithTheLastWindowButHelp()
    {
        Desk desk;
        desk.windows->showDirector();
        desk.windows->showHelp();
        QTimer limit;
        connect(&limit, &QTimer::timeout, qApp, [] { QCoreApplication::exit(1); });
        limit.start(limitMs);
        QTimer::singleShot(0, qApp, [] { shownWindow(directorTitle)->close(); });
        QCOMPARE(QCoreApplication::exec(), 0);
    }

    void showsEachPage()
    {
        Desk desk;
        desk.windows->showHelp();
        WindowHands help = Desk::at(helpTitle);
        const HelpViewModel model(*desk.store, desk.settings);
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
            QCOMPARE(accessibilityFaults(help.window()), QString());
        }
    }

    void opensTheFoldersOfThisComputer()
    {
        Desk desk;
        desk.windows->showSettings();
        WindowHands settings = Desk::at(settingsTitle);
        QVERIFY(settings.shows(u"Verified recordings: ~/Movies/VORN"_s));
        QVERIFY(settings.shows(u"Library: ~/Library/Application Support/VORN"_s));
        QVERIFY(settings.shows(
            u"VORN never deletes phone recordings or overwrites an export directory."_s));
        QVERIFY(settings.shows(desk.folder.path()));
        // The first one, of the recordings, is made by the first download.
        QCOMPARE(descriptionOf(settings.named(u"Open Folder"_s)),
                 u"This folder is made when it is first needed."_s);
        QVERIFY(QDir(desk.folder.path()).mkdir(u"Videos"_s));
        desk.windows->showHelp();
        Desk::at(helpTitle); // settings looks again when somebody comes back to it
        settings = Desk::at(settingsTitle);
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

    void saysWhatToDoFirst_data()
    {
        QTest::addColumn<QByteArray>("library");
        QTest::addColumn<bool>("firstSteps");
        QTest::newRow("none") << QByteArray() << true;
        QTest::newRow("empty") << QByteArray(R"({"projects": []})") << true;
        QTest::newRow("unreadable") << QByteArray("{") << false;
    }

    void saysWhatToDoFirst()
    {
        QFETCH(const QByteArray, library);
        QFETCH(const bool, firstSteps);
        Desk desk(library);
        desk.windows->showDirector();
        desk.windows->showLibrary();
        const auto steps = u"FIRST STEPS"_s;
        const WindowHands director = Desk::at(directorTitle);
        WindowHands libraryWindow = Desk::at(libraryTitle);
        QCOMPARE(director.shows(steps), firstSteps);
        QCOMPARE(libraryWindow.shows(steps), firstSteps);
        desk.store->createProject(u"Night Shoot"_s);
        QTRY_VERIFY(!director.shows(steps) && !libraryWindow.shows(steps));
    }

public Q_SLOTS:
    void takeUrl(const QUrl &url) { m_opened = url; } // NOLINT: called by its name

private:
    QUrl m_opened;
};

QTEST_MAIN(HelpWindowTest)
#include "help_window_test.moc"
