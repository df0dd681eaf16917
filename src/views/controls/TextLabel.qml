// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic

// All text that is only read. Never interprets what it shows; starts at the left whatever script a
// name is written in.
Label {
    textFormat: Text.PlainText
    color: Theme.text
    font.family: Theme.sans
    font.pixelSize: Theme.bodySize
    elide: Text.ElideRight
    horizontalAlignment: Text.AlignLeft
}
