// SPDX-License-Identifier: Apache-2.0
pragma Singleton

import QtQuick
import Vorn

// Colours, type and measures of every window.
ThemeBase {
    readonly property string mono: "JetBrains Mono"
    readonly property int smallSize: 11
    readonly property int panelTitleSize: 15
    readonly property int windowTitleSize: 20

    readonly property int tight: 4
    readonly property int row: 8
    readonly property int inside: 12
    readonly property int between: 16
    readonly property int radius: 6
    readonly property int panelRadius: 10
    readonly property int hit: 28
    readonly property int ring: 2

    function icon(name: string): url {
        return name ? Qt.resolvedUrl("icons/" + name + ".svg") : "";
    }
}
