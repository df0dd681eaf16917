// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

// One camera's clip as an export would meet it.
LibraryPanel {
    id: root

    required property ExportCheckViewModel check
    required property int index
    required property string cameraId
    required property list<string> findings
    required property list<string> figures
    required property list<string> notes
    required property string picture
    required property string heard
    required property string heardIcon
    readonly property bool good: findings.length === 0

    title: cameraId
    icon: good ? "check" : "warning"
    iconColor: good ? Theme.ready : Theme.warning

    StatusLines {
        Layout.fillWidth: true
        sentences: root.findings
        icon: "warning"
        iconColor: Theme.warning
    }
    StatusLines {
        Layout.fillWidth: true
        sentences: root.heard.length > 0 ? [root.heard] : []
        icon: root.heardIcon
        iconColor: root.heardIcon === "check" ? Theme.ready : root.heardIcon === "warning" ? Theme.warning : Theme.secondary
    }
    TimingPicture {
        Layout.fillWidth: true
        implicitHeight: root.picture ? 132 : 48
        check: root.check
        row: root.index
        Accessible.role: Accessible.Graphic
        Accessible.name: qsTr("Timing of %1").arg(root.cameraId)
        Accessible.description: root.picture
    }
    StatusLines {
        Layout.fillWidth: true
        Layout.leftMargin: Theme.between // where the others' words begin, behind their marks
        sentences: root.figures
        icon: ""
        textColor: Theme.secondary
    }
    StatusLines {
        Layout.fillWidth: true
        sentences: root.notes
        icon: "film"
    }
}
