// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// Copies of the recordings for an editor that cannot read them, in the export. What they take stands over the check box:
// who comes to that by keyboard sees it.
LibraryPanel {
    id: root

    required property EditingCopiesViewModel copies
    readonly property bool watched: visible && Window.active

    title: qsTr("Editing copies")
    icon: "film"
    // What is missing may have been installed meanwhile.
    onWatchedChanged: if (watched)
        copies.refresh()

    TextLabel {
        Layout.fillWidth: true
        wrapMode: Text.Wrap
        text: qsTr("DaVinci Resolve on Linux reads no AAC sound, and no H.264 or H.265 in its free edition. Copies in DNxHR and PCM, with a timeline of their own, go into the package beside timeline.fcpxml.")
        color: Theme.secondary
    }
    StatusLine {
        Layout.fillWidth: true
        visible: root.visible && text.length > 0
        text: root.copies.summary
        icon: root.copies.wanted ? "check" : "dashed-circle"
        iconColor: root.copies.wanted ? Theme.ready : Theme.secondary
    }
    StatusLine {
        Layout.fillWidth: true
        visible: root.visible && text.length > 0
        text: root.copies.problem
        icon: "warning"
        iconColor: Theme.warning
    }
    AppCheckBox {
        Layout.fillWidth: true
        visible: root.visible && root.copies.available
        text: qsTr("Export with editing copies")
        checked: root.copies.wanted
        onToggled: {
            root.copies.setWanted(checked);
            checked = Qt.binding(() => root.copies.wanted);
        }
    }
}
