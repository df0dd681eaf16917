// SPDX-License-Identifier: Apache-2.0
TextLabel {
    color: Theme.secondary
    font.pixelSize: Theme.smallSize
}
