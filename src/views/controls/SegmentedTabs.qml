// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick

// A row of pages to choose from: one Tab stop, arrows within.
FocusStop {
    id: root

    required property string label
    required property list<string> titles
    property int current: 0
    property real segmentWidth: 0 // as wide as the title needs, if 0

    function choose(index: int) {
        current = Math.max(0, Math.min(titles.length - 1, index));
    }

    function step(by: int) {
        pointerFocus = false;
        choose(current + by);
    }

    implicitHeight: 32
    implicitWidth: row.implicitWidth + 4
    Keys.onLeftPressed: step(-1)
    Keys.onRightPressed: step(1)

    Accessible.role: Accessible.PageTabList
    Accessible.name: label

    Rectangle {
        anchors.fill: parent
        radius: Theme.radius
        color: Theme.field
        border.color: Theme.frame
    }
    Row {
        id: row

        x: 2
        y: 2

        Repeater {
            model: root.titles

            Rectangle {
                id: segment

                required property int index
                required property string modelData
                readonly property bool checked: index === root.current

                width: root.segmentWidth || Math.max(88, title.implicitWidth + 24)
                height: Theme.hit
                radius: Theme.radius - 2
                color: checked ? Theme.frame : pointer.containsMouse ? Theme.raised : "transparent"

                Accessible.role: Accessible.PageTab
                Accessible.name: modelData
                Accessible.selectable: true
                Accessible.selected: checked
                Accessible.onPressAction: root.choose(index)

                TextLabel {
                    id: title

                    anchors.centerIn: parent
                    text: segment.modelData
                    color: segment.checked ? Theme.text : Theme.secondary
                    font.weight: Font.Medium
                    Accessible.ignored: true
                }
                FocusRing {
                    visible: segment.checked && root.visualFocus
                    inset: 0
                }
                MouseArea {
                    id: pointer

                    anchors.fill: parent
                    hoverEnabled: true
                    onPressed: root.focusByPointer()
                    onClicked: root.choose(segment.index)
                }
            }
        }
    }
}
