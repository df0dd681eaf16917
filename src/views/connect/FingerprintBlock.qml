// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

// What the user compares with the phone's screen, and the code that is typed from there.
ColumnLayout {
    id: root

    required property SecureConnectViewModel connection

    spacing: Theme.inside

    SectionTitle {
        text: qsTr("VERIFY ON BOTH SCREENS")
    }
    // A name from the network stands on a line of its own, apart from the fingerprint.
    TextLabel {
        Layout.fillWidth: true
        text: root.connection.fingerprintTitle
        elide: Text.ElideMiddle
        maximumLineCount: 1
    }
    Rectangle {
        Layout.fillWidth: true
        implicitHeight: groups.implicitHeight + 2 * Theme.inside
        radius: Theme.radius
        color: Theme.field
        border.color: Theme.frame

        Accessible.role: Accessible.StaticText
        Accessible.name: root.connection.fingerprint

        TextLabel {
            id: groups

            anchors.centerIn: parent
            text: root.connection.fingerprint
            elide: Text.ElideNone
            lineHeight: 1.2
            font.family: Theme.mono
            font.pixelSize: 22
            font.letterSpacing: 1
            Accessible.ignored: true
        }
    }
    AppCheckBox {
        Layout.fillWidth: true
        text: qsTr("This 128-bit fingerprint matches the fingerprint shown on the phone")
        checked: root.connection.fingerprintConfirmed
        onToggled: root.connection.fingerprintConfirmed = checked
    }
    AppTextField {
        id: code

        Layout.fillWidth: true
        label: qsTr("Six-digit code from phone")
        font.family: length > 0 ? Theme.mono : Theme.sans
        inputMethodHints: Qt.ImhDigitsOnly | Qt.ImhSensitiveData | Qt.ImhNoPredictiveText

        CodeEntry {
            field: code
            connection: root.connection
        }
    }
    SmallLabel {
        Layout.fillWidth: true
        text: qsTr("The code is single-use. The read-only authorization stays only in memory and is cancelled on background, path change, expiry or transfer failure.")
        wrapMode: Text.Wrap
        elide: Text.ElideNone
    }
}
