// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

SelectableRow {
    id: root

    required property string title

    height: Theme.hit + Theme.tight
    text: title

    TextLabel {
        id: shown

        anchors.verticalCenter: parent.verticalCenter
        width: parent.width
        text: root.title
        maximumLineCount: 1
    }
    HelpTip {
        open: root.hovered && shown.truncated
        text: root.title
    }
}
