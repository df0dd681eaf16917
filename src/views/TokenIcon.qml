import QtQuick
import QtQuick.Controls.impl

// One of our stroke icons in one colour.
IconImage {
    required property string icon
    property int size: 16

    source: Theme.icon(icon)
    sourceSize: Qt.size(size, size)
    color: Theme.secondary
}
