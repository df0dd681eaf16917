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
    signal closed

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

            CameraWall {
                SplitView.preferredWidth: Math.round(panes.width * 0.35)
                SplitView.minimumWidth: 340
                director: root.director
            }
            Switcher {
                id: switcher

                SplitView.fillWidth: true
                SplitView.minimumWidth: 400
                director: root.director
            }
            DirectorInspector {
                id: inspector

                SplitView.preferredWidth: 340
                SplitView.minimumWidth: 300
                SplitView.maximumWidth: 480
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
    }
    ErrorAlert {
        id: alert

        visible: root.director.hasError
        message: root.director.errorMessage
        onClosed: root.director.dismissError()
    }

    // The space bar is CUT's alone: where the focus is does not matter. Text fields take their
    // blanks before a shortcut sees them.
    Shortcut {
        sequence: "Space"
        autoRepeat: false
        enabled: !switcher.pickerOpen && !inspector.pickerOpen && !closeSheet.opened && !alert.opened
        onActivated: if (root.director.canTake) root.director.cut()
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
