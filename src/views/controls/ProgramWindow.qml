// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import Vorn

// What all windows have in common: the ways to the others, and the keys that work in each.
ApplicationWindow {
    id: root

    signal helpRequested
    signal settingsRequested
    signal directorRequested
    signal libraryRequested
    signal networkCheckRequested

    color: Theme.window

    // The window's own, which work over a sheet too; those that it merely contains do not.
    readonly property list<ListedShortcut> keys: [
        ListedShortcut {
            key: KeyTable.Help
            onActivated: root.helpRequested()
        },
        ListedShortcut {
            key: KeyTable.Settings
            onActivated: root.settingsRequested()
        },
        ListedShortcut {
            key: KeyTable.Director
            onActivated: root.directorRequested()
        },
        ListedShortcut {
            key: KeyTable.Library
            onActivated: root.libraryRequested()
        },
        ListedShortcut {
            key: KeyTable.Quit
            onActivated: Qt.quit()
        }
    ]

    ListedShortcut {
        key: KeyTable.CloseWindow
        onActivated: root.close()
    }
}
