import QtQuick
import QtQuick.Layouts
import Vorn

// How far the running export is. Numbers have places of their own, so that nothing moves.
Rectangle {
    id: root

    required property ExportProgressViewModel progress

    implicitHeight: 52
    color: Theme.panel

    component Number: TextLabel {
        font.family: Theme.mono
        font.pixelSize: Theme.smallSize
        color: Theme.secondary
        horizontalAlignment: Text.AlignRight
        elide: Text.ElideNone
        Layout.preferredWidth: widest.advanceWidth

        property alias sample: widest.text

        TextMetrics {
            id: widest

            font.family: Theme.mono
            font.pixelSize: Theme.smallSize
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.between
        anchors.rightMargin: Theme.between
        anchors.topMargin: Theme.row
        anchors.bottomMargin: Theme.row + 2
        spacing: Theme.row

        RowLayout {
            spacing: Theme.between

            TextLabel {
                Layout.fillWidth: true
                text: root.progress.title
                elide: Text.ElideMiddle
            }
            Number {
                sample: "9.99 GB / 9.99 GB"
                text: root.progress.bytesText
            }
            Number {
                sample: "9.99 GB/s"
                text: root.progress.rateText
            }
            Number {
                sample: "9:99:99 left"
                text: root.progress.timeLeftText
            }
        }
        FlatProgressBar {
            Layout.fillWidth: true
            value: root.progress.fraction
            label: root.progress.title
        }
    }
}
