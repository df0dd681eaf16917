// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import Vorn

StudioPanel {
    id: root

    required property DirectorViewModel director

    title: qsTr("Inspector")
    subtitle: ""
    icon: "list"

    SegmentedTabs {
        id: tabs

        anchors.left: parent.left
        anchors.right: parent.right
        label: qsTr("Inspector")
        titles: root.director.inspectorTitles
        segmentWidth: Math.floor((width - 4) / 4)
        current: root.director.inspectorIndex
        onCurrentChanged: root.director.inspectorIndex = current
    }
    Connections {
        target: root.director
        function onInspectorIndexChanged() {
            tabs.current = root.director.inspectorIndex;
        }
    }
    Item {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: tabs.bottom
        anchors.bottom: parent.bottom
        anchors.topMargin: Theme.between

        Later {
            wanted: tabs.current === 0

            SessionPage {
                anchors.fill: parent
                visible: tabs.current === 0
                director: root.director
            }
        }
        Later {
            wanted: tabs.current === 1

            AudioPage {
                anchors.fill: parent
                visible: tabs.current === 1
                director: root.director
            }
        }
        Later {
            wanted: tabs.current === 2

            CameraPage {
                anchors.fill: parent
                visible: tabs.current === 2
                director: root.director
            }
        }
        Later {
            wanted: tabs.current === 3

            EditsPage {
                anchors.fill: parent
                visible: tabs.current === 3
                director: root.director
            }
        }
    }
}
