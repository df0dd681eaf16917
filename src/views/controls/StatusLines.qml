// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts

// Sentences below each other, all with the same mark.
ColumnLayout {
    id: root

    required property list<string> sentences
    required property string icon
    property color iconColor: Theme.secondary
    property color textColor: Theme.text

    visible: sentences.length > 0
    spacing: Theme.row

    Repeater {
        model: root.sentences
        delegate: StatusLine {
            required property string modelData

            Layout.fillWidth: true
            text: modelData
            icon: root.icon
            iconColor: root.iconColor
            textColor: root.textColor
        }
    }
}
