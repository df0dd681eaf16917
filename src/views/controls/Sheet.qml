// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import QtQuick.Templates as T

// A card over the dimmed window. Escape closes it; Return in it is `confirmed`, except on a button,
// which it presses.
Popup {
    id: root

    required property string title
    default property alias content: body.data
    property alias buttons: buttonRow.data
    property int wide: 420
    signal confirmed

    parent: T.Overlay.overlay
    anchors.centerIn: parent
    width: Math.min(wide, parent ? parent.width - 2 * Theme.between : wide)
    padding: Theme.between + Theme.tight
    modal: true
    dim: true
    focus: true
    closePolicy: Popup.CloseOnEscape

    T.Overlay.modal: Rectangle {
        color: Theme.dim
    }
    background: Rectangle {
        color: Theme.panel
        radius: Theme.panelRadius
        border.color: Theme.frame
    }
    contentItem: ColumnLayout {
        spacing: Theme.inside
        Accessible.role: Accessible.Dialog
        Accessible.name: root.title
        Keys.onReturnPressed: root.confirmed()
        Keys.onEnterPressed: root.confirmed()

        TextLabel {
            Layout.fillWidth: true
            text: root.title
            font.pixelSize: Theme.panelTitleSize
            font.weight: Font.DemiBold
        }
        ColumnLayout {
            id: body

            spacing: Theme.inside
        }
        RowLayout {
            id: buttonRow

            Layout.alignment: Qt.AlignRight
            Layout.topMargin: Theme.tight
            spacing: Theme.row
        }
    }
}
