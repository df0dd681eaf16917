import QtQuick
import Vorn

// "PVW" or "PGM".
Rectangle {
    id: root

    required property string badge
    readonly property bool program: badge === "PGM"

    visible: badge.length > 0
    width: label.implicitWidth + 12
    height: 20
    radius: Theme.radius - 2
    color: program ? Theme.programFill : Theme.preview

    SmallLabel {
        id: label

        anchors.centerIn: parent
        text: root.badge
        color: root.program ? Theme.accentText : Theme.previewText
        font.weight: Font.Bold
    }
}
