// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

// A key of the table that the help shows.
Shortcut {
    required property int key

    sequence: KeyTable.sequence(key)
}
