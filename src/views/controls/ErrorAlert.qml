// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

Sheet {
    id: root

    required property string message

    title: qsTr("VORN")
    z: 10
    onConfirmed: close()
    onOpened: {
        ok.forceActiveFocus();
        ok.focusReason = Qt.TabFocusReason;
    }

    RowLayout {
        spacing: Theme.inside

        TokenIcon {
            Layout.alignment: Qt.AlignTop
            icon: "warning"
            size: 20
            color: Theme.failure
        }
        ScrollView {
            id: scroll

            Layout.fillWidth: true
            Layout.preferredHeight: Math.min(text.implicitHeight, 220)
            ScrollBar.vertical: SlimScrollBar {
                parent: scroll
                x: scroll.width - width
                height: scroll.height
            }
            contentWidth: availableWidth
            background: Item {
                FocusRing {
                    visible: text.activeFocus
                }
            }

            TextArea {
                id: text

                text: root.message
                textFormat: TextEdit.PlainText
                wrapMode: TextEdit.Wrap
                readOnly: true
                selectByMouse: true
                padding: 0
                rightPadding: Theme.inside
                color: Theme.text
                selectionColor: Theme.accentFill
                selectedTextColor: Theme.accentText
                font.family: Theme.sans
                font.pixelSize: Theme.bodySize
                background: null
                KeyNavigation.priority: KeyNavigation.BeforeItem
                KeyNavigation.tab: ok
                Accessible.name: root.message
                Keys.onReturnPressed: root.close()
            }
        }
    }
    buttons: AppButton {
        id: ok

        text: qsTr("OK")
        prominent: true
        onClicked: root.close()
    }
}
