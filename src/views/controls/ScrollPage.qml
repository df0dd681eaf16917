// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vorn

// A page that scrolls when the window is too low for it, by the keyboard too.
FocusStop {
    id: root

    required property string label
    default property alias content: column.data
    readonly property real contentHeight: column.implicitHeight
    readonly property bool overflows: contentHeight > height

    // What stays in sight when the content changes: what was last revealed, until the user scrolls.
    property Item kept: null

    function scrollBy(distance: real) {
        flickable.contentY = Math.max(0, Math.min(flickable.contentHeight - flickable.height,
                                                  flickable.contentY + distance));
        kept = null;
    }

    // Scrolls as little as shows the item and its focus ring, its head before its foot.
    function reveal(item: Item) {
        const top = item.mapToItem(column, 0, 0).y - Theme.tight;
        const foot = top + item.height + 2 * Theme.tight;
        scrollBy(Math.max(0, foot - flickable.contentY - flickable.height));
        scrollBy(Math.min(0, top - flickable.contentY));
        kept = item;
    }
    function isWithin(item: Item): bool {
        for (let above = item; above; above = above.parent)
            if (above === column)
                return true;
        return false;
    }

    onContentHeightChanged: settled.start()
    onHeightChanged: settled.start()

    // A layout says how high it is before it has placed what it holds.
    Timer {
        id: settled

        interval: 0
        onTriggered: {
            if (root.kept?.visible)
                root.reveal(root.kept);
        }
    }

    // The keyboard leads to what is out of sight as well.
    Connections {
        target: root.Window.window
        function onActiveFocusItemChanged() {
            const item = root.Window.activeFocusItem;
            if (item && root.isWithin(item))
                root.reveal(item);
        }
    }

    // What has the keyboard keeps it when there is nothing left to scroll.
    activeFocusOnTab: activeFocus || overflows
    Keys.onUpPressed: scrollBy(-48)
    Keys.onDownPressed: scrollBy(48)

    ListedShortcut {
        key: KeyTable.PageUp
        enabled: root.activeFocus
        onActivated: root.scrollBy(-root.height)
    }
    ListedShortcut {
        key: KeyTable.PageDown
        enabled: root.activeFocus
        onActivated: root.scrollBy(root.height)
    }
    ListedShortcut {
        key: KeyTable.ListHead
        enabled: root.activeFocus
        onActivated: root.scrollBy(-root.contentHeight)
    }
    ListedShortcut {
        key: KeyTable.ListEnd
        enabled: root.activeFocus
        onActivated: root.scrollBy(root.contentHeight)
    }

    Accessible.role: Accessible.Pane
    Accessible.name: label

    Flickable {
        id: flickable

        // With room at the sides for what is drawn around a control that has the keyboard.
        anchors.fill: parent
        anchors.leftMargin: -Theme.tight
        anchors.rightMargin: -Theme.tight
        clip: true
        contentHeight: root.contentHeight
        boundsBehavior: Flickable.StopAtBounds
        onContentYChanged: root.kept = null
        ScrollBar.vertical: SlimScrollBar {}

        ColumnLayout {
            id: column

            x: Theme.tight
            width: root.width - (root.overflows ? Theme.inside : 0)
            spacing: Theme.between
        }
    }
    FocusRing {
        visible: root.visualFocus
        inset: -4
    }
}
