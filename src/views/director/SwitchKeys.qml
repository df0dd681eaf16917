// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

// The keys that direct: CUT, and a camera of the wall for Preview. Where the focus is does not matter.
// Text fields take what they are given before a shortcut sees it. As the shortcuts of an item, not of the
// window, these also stand back while whatever popup is open, except for a tool tip.
Item {
    id: root

    required property DirectorViewModel director

    component PlaceKey: ListedShortcut {
        required property CameraWallViewModel wall
        required property int place

        key: KeyTable.Place1 + place
        autoRepeat: false
        onActivated: wall.selectPlace(place)
    }

    // The space bar is CUT's alone.
    ListedShortcut {
        key: KeyTable.Cut
        autoRepeat: false
        onActivated: if (root.director.canTake) root.director.cut()
    }
    PlaceKey {
        wall: root.director.wall
        place: 0
    }
    PlaceKey {
        wall: root.director.wall
        place: 1
    }
    PlaceKey {
        wall: root.director.wall
        place: 2
    }
    PlaceKey {
        wall: root.director.wall
        place: 3
    }
}
