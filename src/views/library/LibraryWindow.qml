// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

ProgramWindow {
    id: root

    required property LibraryViewModel library

    title: library.title
    width: 1180
    height: 760
    minimumWidth: 900
    minimumHeight: 560
    visible: true

    RootView {
        anchors.fill: parent
        library: root.library
        onHelpRequested: root.helpRequested()
        onSettingsRequested: root.settingsRequested()
        onDirectorRequested: root.directorRequested()
        onNetworkCheckRequested: root.networkCheckRequested()
    }
}
