// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// What the desk does not do, and why.
StatusLine {
    Layout.fillWidth: true
    icon: "lock"
}
