// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import Vorn

// A list that the keyboard walks. Where rows can be selected the arrows ask for another row;
// otherwise they scroll. Who owns the model also owns the selection.
// Not ComponentBehavior: Bound, for Qt 6.4 refuses to make a bound heading of a section.
FocusStop {
    id: root

    property alias model: list.model
    property alias delegate: list.delegate
    property alias rowSpacing: list.spacing
    property string section // the role that groups rows under headings; none if empty
    property bool selectable: true
    property int selectedIndex: -1
    property string searchRole // of rows that are found by typing
    property int madeBeyond: 0 // how far around the view rows are made; Tab knows no others
    required property string label
    readonly property bool overflows: list.contentHeight > list.height
    readonly property int rowHeight: 48
    readonly property int pageRows: Math.max(1, Math.floor(height / rowHeight) - 1)
    signal rowRequested(int row)

    function reveal(row: int) {
        list.positionViewAtIndex(row, ListView.Contain);
    }
    function go(rows: int) {
        pointerFocus = false;
        if (selectable)
            rowRequested(Math.max(0, Math.min(list.count - 1, selectedIndex + rows)));
        else
            scrollBy(rows * rowHeight);
    }
    function scrollBy(distance: real) {
        const end = Math.max(list.originY, list.originY + list.contentHeight - list.height);
        list.contentY = Math.max(list.originY, Math.min(end, list.contentY + distance));
    }

    // What has the keyboard keeps it when there is nothing left to scroll.
    activeFocusOnTab: activeFocus || list.count > 0 && (selectable || overflows)
    Keys.onUpPressed: go(-1)
    Keys.onDownPressed: go(1)
    Keys.onPressed: event => event.accepted = typed.press(event.text, event.modifiers)

    Accessible.role: Accessible.List
    Accessible.name: label

    ListedShortcut {
        key: KeyTable.PageUp
        enabled: root.activeFocus
        onActivated: root.go(-root.pageRows)
    }
    ListedShortcut {
        key: KeyTable.PageDown
        enabled: root.activeFocus
        onActivated: root.go(root.pageRows)
    }
    ListedShortcut {
        key: KeyTable.ListHead
        enabled: root.activeFocus
        onActivated: root.go(-list.count)
    }
    ListedShortcut {
        key: KeyTable.ListEnd
        enabled: root.activeFocus
        onActivated: root.go(list.count)
    }
    ListView {
        id: list

        anchors.fill: parent
        clip: true
        cacheBuffer: 0 // rows are quick to make, and none is left half made when it goes
        displayMarginBeginning: root.madeBeyond
        displayMarginEnd: root.madeBeyond
        currentIndex: -1
        boundsBehavior: Flickable.StopAtBounds
        keyNavigationEnabled: false
        ScrollBar.vertical: SlimScrollBar {}
        section.property: root.section
        section.delegate: SectionTitle {
            required property string section

            text: section
            leftPadding: Theme.between
            topPadding: Theme.inside
            bottomPadding: Theme.tight
        }
    }
    TypedSearch {
        id: typed

        model: list.model
        role: root.searchRole
        current: root.selectedIndex
        onFound: row => root.rowRequested(row)
    }
    ReadingOrder {
        of: list.contentItem
    }
    FocusRing {
        visible: root.visualFocus && (!root.selectable || root.selectedIndex < 0)
        inset: 0
    }
}
