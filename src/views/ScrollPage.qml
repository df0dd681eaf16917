import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

// A page that scrolls when the window is too low for it, by the keyboard too.
FocusStop {
    id: root

    required property string label
    default property alias content: column.data
    readonly property bool overflows: column.implicitHeight > height

    function scrollBy(distance: real) {
        flickable.contentY = Math.max(0, Math.min(flickable.contentHeight - flickable.height,
                                                  flickable.contentY + distance));
    }

    activeFocusOnTab: overflows
    Keys.onUpPressed: scrollBy(-48)
    Keys.onDownPressed: scrollBy(48)

    Accessible.role: Accessible.Pane
    Accessible.name: label

    Flickable {
        id: flickable

        anchors.fill: parent
        clip: true
        contentHeight: column.implicitHeight
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: SlimScrollBar {}

        ColumnLayout {
            id: column

            width: flickable.width - (root.overflows ? Theme.inside : 0)
            spacing: Theme.between
        }
    }
    FocusRing {
        visible: root.visualFocus
        inset: -4
    }
}
