// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// The fourth file of the export: the cut as it was made live.
LibraryPanel {
    id: root

    required property DirectorCutViewModel cut
    readonly property bool watched: visible && Window.active

    title: qsTr("Director's cut")
    icon: "switch"
    // A layout misses what becomes visible while its page is hidden: on a hidden page nothing is.
    // Another window may have recorded a session meanwhile.
    onWatchedChanged: if (watched)
        cut.refresh()

    TextLabel {
        Layout.fillWidth: true
        visible: root.visible && root.cut.hasSession
        wrapMode: Text.Wrap
        text: qsTr("director-cut.fcpxml has the live decisions as an edit, with every camera switched off below it.")
        color: Theme.secondary
    }
    AppPicker {
        Layout.fillWidth: true
        Layout.maximumWidth: 420
        visible: root.visible && titles.length > 1
        label: qsTr("Session")
        titles: root.cut.sessionTitles
        current: root.cut.sessionIndex
        onChosen: index => root.cut.choose(index)
    }
    AppCheckBox {
        Layout.fillWidth: true
        visible: root.visible && root.cut.canInclude
        text: qsTr("Include the director's cut")
        checked: root.cut.included
        onToggled: {
            root.cut.setIncluded(checked);
            checked = Qt.binding(() => root.cut.included);
        }
    }
    StatusLine {
        Layout.fillWidth: true
        text: root.cut.summary
        icon: root.cut.included ? "check" : "dashed-circle"
        iconColor: root.cut.included ? Theme.ready : Theme.secondary
    }
    StatusLine {
        Layout.fillWidth: true
        visible: root.visible && text.length > 0
        text: root.cut.places
        icon: root.cut.placed ? "check" : "dashed-circle"
        iconColor: root.cut.placed ? Theme.ready : Theme.secondary
    }
    StatusLine {
        Layout.fillWidth: true
        visible: root.visible && text.length > 0
        text: root.cut.problem
        icon: "warning"
        iconColor: Theme.warning
    }
    Row {
        visible: root.visible && root.cut.hasSession
        spacing: Theme.row

        HelpedButton {
            text: qsTr("Show Session")
            icon.name: "folder"
            help: qsTr("Show the session's record in the file browser")
            onClicked: root.cut.show()
        }
        HelpedButton {
            text: qsTr("Delete Session…")
            help: qsTr("Delete the session's record; asks first")
            onClicked: {
                root.cut.askToDelete();
                question.open();
            }
        }
    }
    DeleteSessionSheet {
        id: question

        text: root.cut.deleteQuestion
        onConfirmed: {
            close();
            root.cut.remove();
        }
    }
}
