// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QColor>
#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vorn {

/// What of the look holds for Qt Quick and for Qt Widgets: the colours and the type. Theme.qml is
/// this and the measures of our own windows.
class ThemeBase : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor window MEMBER window CONSTANT)
    Q_PROPERTY(QColor panel MEMBER panel CONSTANT)
    Q_PROPERTY(QColor raised MEMBER raised CONSTANT)
    Q_PROPERTY(QColor frame MEMBER frame CONSTANT)
    Q_PROPERTY(QColor field MEMBER field CONSTANT)
    Q_PROPERTY(QColor text MEMBER text CONSTANT)
    Q_PROPERTY(QColor secondary MEMBER secondary CONSTANT)
    Q_PROPERTY(QColor disabled MEMBER disabled CONSTANT)
    Q_PROPERTY(QColor ready MEMBER ready CONSTANT)
    Q_PROPERTY(QColor failure MEMBER failure CONSTANT)
    Q_PROPERTY(QColor preview MEMBER preview CONSTANT)
    Q_PROPERTY(QColor previewText MEMBER previewText CONSTANT)
    Q_PROPERTY(QColor programFill MEMBER programFill CONSTANT)
    Q_PROPERTY(QColor warning MEMBER warning CONSTANT)
    Q_PROPERTY(QColor accent MEMBER accent CONSTANT)
    Q_PROPERTY(QColor accentFill MEMBER accentFill CONSTANT)
    Q_PROPERTY(QColor accentText MEMBER accentText CONSTANT)
    Q_PROPERTY(QColor selection MEMBER selection CONSTANT)
    Q_PROPERTY(QColor dim MEMBER dim CONSTANT)
    Q_PROPERTY(QString sans MEMBER sans CONSTANT)
    Q_PROPERTY(int bodySize MEMBER bodySize CONSTANT)
public:
    // Contrast against what lies behind: text at least 7:1, marks 5:1, disabled text 3.6:1.
    const QColor window{0x0E, 0x10, 0x14};
    const QColor panel{0x15, 0x18, 0x1E};
    const QColor raised{0x1D, 0x21, 0x29};
    const QColor frame{0x2B, 0x31, 0x3C};
    const QColor field{0x0A, 0x0C, 0x0F};
    const QColor text{0xE7, 0xEA, 0xF0};
    const QColor secondary{0xA3, 0xAC, 0xBA};
    const QColor disabled{0x6E, 0x78, 0x87};
    const QColor ready{0x35, 0xC7, 0x7A};
    const QColor failure{0xFF, 0x5A, 0x5F};
    const QColor preview{0x35, 0xC7, 0x7A}; ///< and its dark text
    const QColor previewText{0x08, 0x11, 0x0C};
    const QColor programFill{0xC9, 0x35, 0x3A}; ///< under white; frames and marks are as failures
    const QColor warning{0xF2, 0xA9, 0x3B};
    const QColor accent{0x5B, 0x9B, 0xFF};
    const QColor accentFill{0x2F, 0x6F, 0xDB};
    const QColor accentText{0xFF, 0xFF, 0xFF};
    const QColor selection{0x22, 0x35, 0x5A};
    const QColor dim{0x06, 0x07, 0x09, 0xB3};

    const QString sans = QStringLiteral("Inter");
    const int bodySize = 13;
};

} // namespace vorn
