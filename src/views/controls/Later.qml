// SPDX-License-Identifier: Apache-2.0
import QtQuick

// An item that is made when it is first wanted, and kept. (A Loader of Qt 6.4 makes no bound component.)
Repeater {
    required property bool wanted

    model: wanted ? 1 : 0
    onItemAdded: model = 1
}
