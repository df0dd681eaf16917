// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

// Movies from anywhere, on their way to a take.
ProgramWindow {
    id: root

    required property LibraryViewModel library
    readonly property MovieImportViewModel movies: library.movieImport

    title: qsTr("Import Movies")
    width: 760
    height: 780
    minimumWidth: 560
    minimumHeight: 480

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.between
        spacing: Theme.inside

        TextLabel {
            text: root.title
            font.pixelSize: Theme.windowTitleSize
            font.weight: Font.DemiBold
        }
        StatusLine {
            Layout.fillWidth: true
            text: root.movies.summary
            icon: root.movies.summaryIcon
            iconColor: icon === "check" ? Theme.ready : icon === "warning" ? Theme.warning : Theme.secondary
        }
        FlatProgressBar {
            Layout.fillWidth: true
            visible: root.movies.running
            value: root.movies.fraction
            label: qsTr("Listening")
        }
        ScrollPage {
            Layout.fillWidth: true
            Layout.fillHeight: true
            label: qsTr("Movies")

            Repeater {
                model: root.movies.movies
                delegate: MovieImportRow {
                    Layout.fillWidth: true
                    movies: root.movies
                }
            }
            LibraryPanel {
                Layout.fillWidth: true
                title: qsTr("The take")
                icon: "folder"

                GridLayout {
                    columns: 2
                    columnSpacing: Theme.row
                    rowSpacing: Theme.row

                    TextLabel {
                        text: qsTr("Project")
                        color: Theme.secondary
                    }
                    AppTextField {
                        Layout.fillWidth: true
                        label: qsTr("Project")
                        text: root.movies.projectName
                        onTextEdited: root.movies.projectName = text
                    }
                    TextLabel {
                        text: qsTr("Take")
                        color: Theme.secondary
                    }
                    AppTextField {
                        Layout.fillWidth: true
                        label: qsTr("Take")
                        text: root.movies.takeName
                        onTextEdited: root.movies.takeName = text
                    }
                    TextLabel {
                        text: qsTr("Distance")
                        color: Theme.secondary
                    }
                    AppTextField {
                        Layout.fillWidth: true
                        label: qsTr("Largest distance between phones, in metres")
                        text: root.movies.distance
                        onTextEdited: root.movies.distance = text
                    }
                }
                TextLabel {
                    Layout.fillWidth: true
                    text: root.movies.distanceText
                          || qsTr("Sound needs 2.9 ms for a metre, and nothing in it tells that from an offset. "
                                  + "Give the distance, and it is added to what is shown.")
                    color: Theme.secondary
                    wrapMode: Text.Wrap
                    elide: Text.ElideNone
                }
            }
        }
        RowLayout {
            spacing: Theme.row

            HelpedButton {
                text: qsTr("Add Movies…")
                icon.name: "plus"
                help: qsTr("Choose movies of the same moment")
                onClicked: root.movies.chooseFiles(root)
            }
            Item {
                Layout.fillWidth: true
            }
            HelpedButton {
                text: qsTr("Cancel")
                help: qsTr("Forget these movies; the files stay as they are")
                onClicked: {
                    root.movies.cancel();
                    root.close();
                }
            }
            HelpedButton {
                text: qsTr("Create Take")
                icon.name: "check"
                prominent: true
                help: qsTr("Bring these movies into the library as one take")
                available: root.movies.available
                obstacle: root.movies.obstacle
                onClicked: root.movies.create()
            }
        }
    }
    DropArea {
        anchors.fill: parent
        keys: ["text/uri-list"]
        onDropped: drop => {
            drop.accept(Qt.CopyAction);
            root.movies.addFiles(drop.urls);
        }
    }
    Connections {
        target: root.movies
        function onCreated() {
            root.close();
        }
    }
    ListedShortcut {
        key: KeyTable.Escape
        onActivated: root.close()
    }
}
