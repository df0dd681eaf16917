// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

// What to do first, in an empty program.
ColumnLayout {
    id: root

    required property list<string> steps

    spacing: Theme.row

    SectionTitle {
        text: qsTr("FIRST STEPS")
    }
    Repeater {
        model: root.steps

        RowLayout {
            id: step

            required property int index
            required property string modelData

            spacing: Theme.row

            TextLabel {
                Layout.alignment: Qt.AlignTop
                Layout.preferredWidth: Theme.between
                text: step.index + 1
                color: Theme.accent
                font.weight: Font.DemiBold
            }
            TextLabel {
                Layout.fillWidth: true
                text: step.modelData
                wrapMode: Text.Wrap
                elide: Text.ElideNone
                color: Theme.secondary
            }
        }
    }
}
