// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.impl

// One of our stroke icons in one colour.
IconImage {
    required property string icon
    property int size: 16

    source: Theme.icon(icon)
    sourceSize.width: size
    sourceSize.height: size
    color: Theme.secondary
}
