pragma Singleton

import QtQuick

// Colours, type and measures of every window.
QtObject {
    // Contrast against what lies behind: text at least 7:1, marks 5:1, disabled text 3.6:1.
    readonly property color window: "#0E1014"
    readonly property color panel: "#15181E"
    readonly property color raised: "#1D2129"
    readonly property color frame: "#2B313C"
    readonly property color field: "#0A0C0F"
    readonly property color text: "#E7EAF0"
    readonly property color secondary: "#A3ACBA"
    readonly property color disabled: "#6E7887"
    readonly property color ready: "#35C77A"
    readonly property color failure: "#FF5A5F"
    readonly property color preview: "#35C77A" // and its dark text
    readonly property color previewText: "#08110C"
    readonly property color programFill: "#C9353A" // under white; frames and marks are as failures
    readonly property color warning: "#F2A93B"
    readonly property color accent: "#5B9BFF"
    readonly property color accentFill: "#2F6FDB"
    readonly property color accentText: "#FFFFFF"
    readonly property color selection: "#22355A"
    readonly property color dim: "#B3060709"

    readonly property string sans: "Inter"
    readonly property string mono: "JetBrains Mono"
    readonly property int smallSize: 11
    readonly property int bodySize: 13
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
