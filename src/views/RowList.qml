pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic

// A list that the keyboard walks. Where rows can be selected the arrows ask for another row;
// otherwise they scroll. Who owns the model also owns the selection.
Control {
    id: root

    property alias model: list.model
    property alias delegate: list.delegate
    property alias rowSpacing: list.spacing
    property bool selectable: true
    property int selectedIndex: -1
    required property string label
    signal rowRequested(int row)

    function reveal() {
        list.positionViewAtIndex(selectedIndex, ListView.Contain);
    }
    function revealRow(row: int) {
        list.positionViewAtIndex(row, ListView.Contain);
    }
    function take(event: var) {
        const page = Math.max(1, Math.floor(list.height / 48) - 1);
        const steps = new Map([[Qt.Key_Up, -1], [Qt.Key_Down, 1], [Qt.Key_PageUp, -page],
                               [Qt.Key_PageDown, page], [Qt.Key_Home, -list.count],
                               [Qt.Key_End, list.count]]);
        event.accepted = steps.has(event.key) && event.modifiers === Qt.NoModifier;
        if (!event.accepted)
            return;
        if (selectable)
            rowRequested(Math.max(0, Math.min(list.count - 1, selectedIndex + steps.get(event.key))));
        else
            scrollBy(steps.get(event.key) * 48);
    }
    function scrollBy(distance: real) {
        const end = Math.max(list.originY, list.originY + list.contentHeight - list.height);
        list.contentY = Math.max(list.originY, Math.min(end, list.contentY + distance));
    }

    focusPolicy: list.count > 0 ? Qt.StrongFocus : Qt.NoFocus
    Keys.onPressed: event => root.take(event)

    Accessible.role: Accessible.List
    Accessible.name: label

    contentItem: ListView {
        id: list

        clip: true
        currentIndex: -1
        boundsBehavior: Flickable.StopAtBounds
        keyNavigationEnabled: false
        reuseItems: true
        ScrollBar.vertical: SlimScrollBar {}
    }

    FocusRing {
        visible: root.visualFocus && (!root.selectable || root.selectedIndex < 0)
        inset: 0
    }
}
