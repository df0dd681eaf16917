// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

SmallLabel {
    Layout.fillWidth: true
    font.weight: Font.DemiBold
    font.letterSpacing: 0.5
}
