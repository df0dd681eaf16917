import QtQuick
import QtQuick.Controls.Basic

ToolTip {
    id: root

    delay: 600
    padding: Theme.row
    width: Math.min(implicitWidth, 360)
    contentItem: TextLabel {
        text: root.text
        wrapMode: Text.Wrap
        elide: Text.ElideNone
        font.pixelSize: Theme.smallSize
    }
    background: Rectangle {
        color: Theme.raised
        border.color: Theme.frame
        radius: Theme.radius
    }
}
