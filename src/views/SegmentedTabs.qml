pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic

// A row of pages to choose from: one Tab stop, arrows within.
Control {
    id: root

    required property string label
    required property list<string> titles
    property int current: 0

    function choose(index: int) {
        current = Math.max(0, Math.min(titles.length - 1, index));
    }

    implicitHeight: 32
    implicitWidth: implicitContentWidth + 4
    padding: 2
    focusPolicy: Qt.StrongFocus
    Keys.onLeftPressed: choose(current - 1)
    Keys.onRightPressed: choose(current + 1)

    Accessible.role: Accessible.PageTabList
    Accessible.name: label

    background: Rectangle {
        radius: Theme.radius
        color: Theme.field
        border.color: Theme.frame
    }
    contentItem: Row {
        Repeater {
            model: root.titles

            AbstractButton {
                id: segment

                required property int index
                required property string modelData

                width: Math.max(88, title.implicitWidth + 24)
                height: 28
                text: modelData
                checked: index === root.current
                focusPolicy: Qt.NoFocus
                hoverEnabled: true
                onClicked: root.choose(index)

                Accessible.role: Accessible.PageTab
                Accessible.name: text
                Accessible.selectable: true
                Accessible.selected: checked
                Accessible.onPressAction: clicked()

                background: Rectangle {
                    radius: Theme.radius - 2
                    color: segment.checked ? Theme.frame
                         : segment.hovered ? Theme.raised : "transparent"

                    FocusRing {
                        visible: segment.checked && root.visualFocus
                        inset: 0
                    }
                }
                contentItem: TextLabel {
                    id: title

                    text: segment.text
                    color: segment.checked ? Theme.text : Theme.secondary
                    font.weight: Font.Medium
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                    Accessible.ignored: true
                }
            }
        }
    }
}
