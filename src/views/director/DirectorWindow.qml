// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import QtQuick.Templates as T
import Vorn

ApplicationWindow {
    id: root

    required property DirectorViewModel director
    property bool mayClose
    signal libraryRequested
    signal networkCheckRequested
    signal closed
    signal stayed // when it was asked to close

    title: qsTr("VORN Director")
    width: 1320
    height: 820
    minimumWidth: 1120
    minimumHeight: 700
    visible: true
    color: Theme.window

    onClosing: event => {
        if (director.sessionRunning && !mayClose) {
            event.accepted = false;
            closeSheet.open();
        } else {
            closed();
        }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        DirectorHeader {
            Layout.fillWidth: true
            director: root.director
            onLibraryRequested: root.libraryRequested()
        }
        ProductionBar {
            Layout.fillWidth: true
            director: root.director
        }
        SplitView {
            id: panes

            // What each pane needs; together as much as the smallest window has.
            readonly property int wallNeeds: 320
            readonly property int switcherNeeds: 430
            readonly property int inspectorNeeds: 300
            readonly property real sideRoom: width - switcherNeeds - 2 * Theme.between

            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.margins: Theme.between
            handle: Item {
                implicitWidth: Theme.between

                Rectangle {
                    anchors.centerIn: parent
                    width: 2
                    height: 48
                    radius: 1
                    color: parent.T.SplitHandle.hovered || parent.T.SplitHandle.pressed ? Theme.accent
                                                                                       : Theme.frame
                }
            }

            // The outer panes keep what a hand gave them only as far as the switcher keeps its room.
            CameraWall {
                SplitView.preferredWidth: Math.round(panes.width * 0.35)
                SplitView.minimumWidth: panes.wallNeeds
                SplitView.maximumWidth: Math.max(panes.wallNeeds, panes.sideRoom - inspector.width)
                director: root.director
                onNetworkCheckRequested: root.networkCheckRequested()
            }
            Switcher {
                SplitView.fillWidth: true
                SplitView.minimumWidth: panes.switcherNeeds
                director: root.director
            }
            DirectorInspector {
                id: inspector

                SplitView.preferredWidth: panes.width < 1200 ? panes.inspectorNeeds : 340
                SplitView.minimumWidth: panes.inspectorNeeds
                SplitView.maximumWidth: Math.max(panes.inspectorNeeds, Math.min(480, panes.sideRoom - panes.wallNeeds))
                director: root.director
            }
        }
    }

    CloseSessionSheet {
        id: closeSheet

        onConfirmed: {
            root.mayClose = true;
            root.close();
        }
        onClosed: if (!root.mayClose) root.stayed()
    }
    ErrorAlert {
        visible: root.director.hasError
        message: root.director.errorMessage
        onClosed: root.director.dismissError()
    }

    Shortcut {
        sequence: "Ctrl+W"
        onActivated: root.close()
    }
    Shortcut {
        sequence: "Ctrl+Q"
        onActivated: Qt.quit()
    }
}
