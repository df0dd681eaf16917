// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import QtQuick.Templates as T
import Vorn

ProgramWindow {
    id: root

    required property DirectorViewModel director
    property bool mayClose
    property bool asksAboutSession
    property string endingWork // what would end with the program, while that is asked
    signal programRequested
    signal closed
    signal stayed // when it was asked to close
    signal endConfirmed
    signal endDeclined

    title: qsTr("VORN Director")
    width: 1320
    height: 820
    minimumWidth: 1120
    minimumHeight: 700
    visible: true

    onClosing: event => {
        if (director.sessionRunning && !mayClose) {
            event.accepted = false;
            asksAboutSession = true;
        } else {
            closed();
        }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        DirectorHeader {
            id: header

            Layout.fillWidth: true
            director: root.director
            onLibraryRequested: root.libraryRequested()
            onSettingsRequested: root.settingsRequested()
            onHelpRequested: root.helpRequested()
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
            // For wall and switcher.
            readonly property real pictureRoom: width - Theme.between
                                                - (desk.inspectorFolded ? 0 : inspector.width + Theme.between)
            readonly property DeskViewModel desk: root.director.desk
            property Item held: null // the pane that a hand makes wider or narrower
            property real heldWidth // before it did

            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.margins: Theme.between
            onResizingChanged: {
                if (resizing || held.width === heldWidth)
                    return;
                if (held === inspector)
                    desk.inspectorWidth = inspector.width;
                else
                    desk.wallShare = wall.width / pictureRoom;
            }
            handle: Item {
                id: grip

                readonly property bool pressed: T.SplitHandle.pressed

                implicitWidth: Theme.between
                onPressedChanged: if (pressed) {
                    panes.held = grip.x > switcher.x ? inspector : wall;
                    panes.heldWidth = panes.held.width;
                }

                Rectangle {
                    anchors.centerIn: parent
                    width: 2
                    height: 48
                    radius: 1
                    color: grip.T.SplitHandle.hovered || grip.pressed ? Theme.accent : Theme.frame
                }
            }

            // The outer panes keep what a hand gave them only as far as the switcher keeps its room.
            CameraWall {
                id: wall

                SplitView.minimumWidth: panes.wallNeeds
                SplitView.maximumWidth: Math.max(panes.wallNeeds, panes.pictureRoom - panes.switcherNeeds)
                director: root.director
                onNetworkCheckRequested: root.networkCheckRequested()
            }
            Switcher {
                id: switcher

                SplitView.fillWidth: true
                // While the inspector takes room the wall gives it.
                SplitView.minimumWidth: panes.resizing && panes.held === inspector ? 0 : panes.switcherNeeds
                director: root.director
                onProgramRequested: root.programRequested()
            }
            // Its pages may have the focus.
            FocusScope {
                id: inspector

                SplitView.minimumWidth: panes.inspectorNeeds
                SplitView.maximumWidth: Math.max(panes.inspectorNeeds, Math.min(480, panes.width - panes.wallNeeds
                                                                                      - panes.switcherNeeds
                                                                                      - 2 * Theme.between))
                visible: !panes.desk.inspectorFolded
                onVisibleChanged: if (!visible && activeFocus) header.focusFold()

                DirectorInspector {
                    anchors.fill: parent
                    director: root.director
                }
            }

            // What holds unless a hand moves it. Without a hand the wall gets what the monitors cannot use.
            Binding {
                target: wall.SplitView
                property: "preferredWidth"
                when: !panes.resizing || panes.held !== wall
                value: Math.round(panes.desk.wallShare > 0 ? panes.desk.wallShare * panes.pictureRoom
                                                           : Math.min(wall.useful, panes.pictureRoom - switcher.useful))
                restoreMode: Binding.RestoreNone
            }
            Binding {
                target: inspector.SplitView
                property: "preferredWidth"
                when: !panes.resizing || panes.held !== inspector
                value: panes.desk.inspectorWidth || (panes.width < 1200 ? panes.inspectorNeeds : 340)
                restoreMode: Binding.RestoreNone
            }
        }
    }
    Later {
        wanted: root.asksAboutSession

        Item {
            CloseSessionSheet {
                visible: root.asksAboutSession
                closingText: root.director.editsPage.closingText
                onConfirmed: {
                    root.mayClose = true;
                    close();
                    root.close();
                }
                onClosed: {
                    root.asksAboutSession = false;
                    if (!root.mayClose)
                        root.stayed();
                }
            }
        }
    }
    Later {
        wanted: root.director.hasError

        Item {
            ErrorAlert {
                visible: root.director.hasError
                message: root.director.errorMessage
                onClosed: root.director.dismissError()
            }
        }
    }
    Later {
        wanted: root.endingWork.length > 0

        Item {
            EndWorkSheet {
                work: root.endingWork
                onConfirmed: root.endConfirmed()
                onClosed: if (root.endingWork) root.endDeclined()
            }
        }
    }
}
