// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <span>

namespace vorn {

/// All keyboard shortcuts: the windows bind what stands here, and the help lists it.
class KeyTable : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    enum Key {
        Help,
        Settings,
        Director,
        Library,
        CloseWindow,
        Quit,
        Escape,
        NextControl,
        Work,
        Cut,
        Place1, ///< of the wall; the others follow it
        Place2,
        Place3,
        Place4,
        FoldInspector,
        OpenProgram,
        FullScreen,
        LeaveFullScreen,
        Connect,
        NewProject,
        Rename,
        ImportManifest,
        ImportMovies,
        Download,
        Export,
        Search,
        OverviewTab,
        MediaTab,
        ResolveTab,
        ActivityTab,
        PageUp,
        PageDown,
        ListHead,
        ListEnd,
    };
    Q_ENUM(Key)

    /// Where a key works.
    enum class Place : quint8 { everyWindow, director, program, library, lists };

    struct Row {
        Key key;
        Place place;
        QStringView sequence; ///< as QKeySequence reads it
        QStringView what;
    };

    /// In the order in which the help lists them, by place.
    [[nodiscard]] static std::span<const Row> rows();
    [[nodiscard]] static QString title(Place place);

    Q_INVOKABLE [[nodiscard]] static QString sequence(vorn::KeyTable::Key key);
};

} // namespace vorn
