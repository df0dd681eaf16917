import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

// A page that scrolls when the window is too low for it, by the keyboard too.
FocusStop {
    id: root

    required property string label
    default property alias content: column.data
    readonly property real contentHeight: column.implicitHeight
    readonly property bool overflows: contentHeight > height

    function scrollBy(distance: real) {
        flickable.contentY = Math.max(0, Math.min(flickable.contentHeight - flickable.height,
                                                  flickable.contentY + distance));
    }

    // Scrolls as little as shows the item and its focus ring, its head before its foot.
    function reveal(item: Item) {
        const top = item.mapToItem(column, 0, 0).y - Theme.tight;
        const foot = top + item.height + 2 * Theme.tight;
        scrollBy(Math.max(0, foot - flickable.contentY - flickable.height));
        scrollBy(Math.min(0, top - flickable.contentY));
    }
    function isWithin(item: Item): bool {
        for (let above = item; above; above = above.parent)
            if (above === column)
                return true;
        return false;
    }

    // The keyboard leads to what is out of sight as well.
    Connections {
        target: root.Window.window
        function onActiveFocusItemChanged() {
            const item = root.Window.activeFocusItem;
            if (root.overflows && item && root.isWithin(item))
                root.reveal(item);
        }
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
        contentHeight: root.contentHeight
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
