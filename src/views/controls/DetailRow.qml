// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts

RowLayout {
    id: root

    required property string label
    required property string value

    spacing: Theme.inside

    TextLabel {
        Layout.preferredWidth: 84
        text: root.label
        color: Theme.secondary
    }
    TextLabel {
        id: shown

        Layout.fillWidth: true
        text: root.value
        horizontalAlignment: Text.AlignRight
        HoverHandler {
            id: hover
        }
        HelpTip {
            open: hover.hovered && shown.truncated
            text: root.value
        }
    }
}
