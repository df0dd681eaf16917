// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vorn

// From a live camera to a paired one, top to bottom.
Sheet {
    id: root

    required property SecureConnectViewModel connection
    signal networkCheckRequested

    title: qsTr("Secure Camera Transfer")
    wide: 600
    onConfirmed: connection.pair()
    onOpened: {
        scan.forceActiveFocus(Qt.PopupFocusReason);
        page.scrollBy(-page.contentHeight); // from what had the keyboard last
    }

    // The keyboard goes to the phones that can be asked, and comes back when the one that has it goes.
    function askAnother(asks: bool) {
        connection.asksAnother = asks;
        for (let i = 0; asks && i < askable.count; ++i) {
            if (askable.itemAt(i).enabled) {
                askable.itemAt(i).forceActiveFocus(Qt.TabFocusReason);
                break;
            }
        }
    }

    function takeFocusBack() {
        if (another.visible && another.available)
            another.takeFocus();
        else
            scan.forceActiveFocus(Qt.TabFocusReason);
    }

    Connections {
        target: root.connection
        function onPaired() {
            root.close();
        }
    }

    RowLayout {
        spacing: Theme.between

        TextLabel {
            Layout.fillWidth: true
            text: qsTr("The phone must be foreground-active in Transfer Mode. Camera, microphone and preview stop first.")
            wrapMode: Text.Wrap
            elide: Text.ElideNone
            color: Theme.secondary
        }
        AppButton {
            id: scan

            Layout.alignment: Qt.AlignTop
            text: qsTr("Scan Again")
            icon.name: "search"
            onClicked: root.connection.scanAgain()
        }
    }
    ScrollPage {
        id: page

        label: root.title
        Layout.fillWidth: true
        Layout.preferredHeight: Math.min(contentHeight, root.parent.height - 240)

        SectionTitle {
            visible: root.connection.hasSessions
            text: qsTr("ACTIVE SESSIONS")
        }
        ColumnLayout {
            Layout.fillWidth: true
            visible: root.connection.hasSessions
            spacing: Theme.row

            Repeater {
                model: root.connection.sessions

                SessionRow {
                    Layout.fillWidth: true
                    onEnded: root.connection.endSession(index)
                }
            }
        }
        SectionTitle {
            text: qsTr("CAMERAS IN TRANSFER MODE")
        }
        ColumnLayout {
            Layout.fillWidth: true
            visible: root.connection.hasDevices
            spacing: Theme.row

            Repeater {
                model: root.connection.devices

                DeviceRow {
                    Layout.fillWidth: true
                    onClicked: {
                        const isPlaced = verify.visible;
                        root.connection.choose(index);
                        if (isPlaced)
                            page.reveal(verify);
                        page.kept = verify; // with the next frame
                    }
                }
            }
        }
        HelpedButton {
            id: another

            visible: root.connection.hasDevices
            text: qsTr("Ask another phone…")
            icon.name: "plus"
            help: root.connection.asksAnother ? qsTr("Hide the phones that are not listed yet")
                                              : qsTr("Show the phones that are not listed yet")
            available: root.connection.hasCameras
            obstacle: qsTr("All phones with an open camera are listed.")
            onClicked: root.askAnother(!root.connection.asksAnother)
        }
        GridLayout {
            Layout.fillWidth: true
            visible: root.connection.showsCameras
            columns: 2
            columnSpacing: Theme.row
            rowSpacing: Theme.row

            Repeater {
                id: askable

                model: root.connection.cameras
                onItemRemoved: (index, item) => {
                    if (item.activeFocus)
                        Qt.callLater(root.takeFocusBack);
                }

                AskButton {
                    Layout.fillWidth: true
                    Layout.preferredWidth: 1 // all the same
                    onClicked: {
                        root.connection.ask(index);
                        page.kept = request; // when it says something
                    }
                }
            }
        }
        StatusLine {
            id: request

            Layout.fillWidth: true
            visible: (root.connection.showsCameras || !root.connection.hasDevices) && text.length > 0
            text: root.connection.requestText
            icon: root.connection.requestFailed ? "warning" : "phone"
            iconColor: root.connection.requestFailed ? Theme.warning : Theme.ready
            textColor: iconColor
        }
        RowLayout {
            visible: !root.connection.hasDevices
            spacing: Theme.inside

            BusyIndicator {
                implicitWidth: 28
                implicitHeight: 28
                running: visible
                palette.dark: Theme.secondary
                Accessible.ignored: true
            }
            ColumnLayout {
                spacing: 2

                TextLabel {
                    Layout.fillWidth: true
                    text: qsTr("Scanning for authenticated VORN transfer…")
                }
                SmallLabel {
                    Layout.fillWidth: true
                    text: root.connection.hint
                }
            }
            HelpedButton {
                visible: root.connection.silent
                text: qsTr("Check network")
                icon.name: "warning"
                help: qsTr("Look at what may keep the phones from being seen")
                onClicked: root.networkCheckRequested()
            }
        }
        FingerprintBlock {
            id: verify

            Layout.fillWidth: true
            visible: root.connection.hasSelection
            connection: root.connection
        }
    }
    buttons: [
        SmallLabel {
            Layout.fillWidth: true
            text: qsTr("Phone originals are never deleted")
        },
        BusyIndicator {
            implicitWidth: 28
            implicitHeight: 28
            visible: root.connection.busy
            running: visible
            palette.dark: Theme.secondary
            Accessible.ignored: true
        },
        AppButton {
            text: qsTr("Close")
            onClicked: root.close()
        },
        HelpedButton {
            text: qsTr("Pair & Load Projects")
            prominent: true
            available: root.connection.canPair
            obstacle: root.connection.pairObstacle
            onClicked: root.connection.pair()
        }
    ]
}
