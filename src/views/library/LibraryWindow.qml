// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import Vorn

ApplicationWindow {
    id: root

    required property LibraryViewModel library
    signal directorRequested
    signal networkCheckRequested

    title: library.title
    width: 1180
    height: 760
    minimumWidth: 900
    minimumHeight: 560
    visible: true
    color: Theme.window

    RootView {
        anchors.fill: parent
        library: root.library
        onSettingsRequested: settings.open()
        onDirectorRequested: root.directorRequested()
        onNetworkCheckRequested: root.networkCheckRequested()
    }
    SettingsWindow {
        id: settings

        function open() {
            show();
            raise();
            requestActivate();
        }

        library: root.library
    }
    Shortcut {
        sequence: "Ctrl+Q"
        onActivated: Qt.quit()
    }
}
