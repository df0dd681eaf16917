// SPDX-License-Identifier: Apache-2.0

// The least QML program: an empty window of the Library window's size.

#include <QGuiApplication>
#include <QQmlApplicationEngine>

int main(int argumentCount, char *arguments[])
{
    const QGuiApplication application(argumentCount, arguments);
    QQmlApplicationEngine engine;
    engine.loadData("import QtQuick\n"
                    "Window { width: 1180; height: 760; visible: true }\n");
    return QGuiApplication::exec();
}
