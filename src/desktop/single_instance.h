#pragma once

#include "base/files.h"

#include <QObject>

class QLocalServer;

namespace vorn {

/// Holds the user's one running VORN Desktop. The lock is a held descriptor in the runtime folder,
/// so it ends with the process however that ends. Context: UI thread.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    explicit SingleInstance(QObject *parent = nullptr);

    /// True when this process is the first. When it is not, the first one has been asked to raise
    /// its windows.
    [[nodiscard]] bool isFirst() const { return m_lock.isOpen(); }

Q_SIGNALS:
    /// A later start asks for the windows.
    void raiseRequested();

private:
    void listen(const QString &socketPath);
    static void askFirstToRaise(const QString &socketPath);

    FileDescriptor m_lock;
    QLocalServer *m_server = nullptr;
};

} // namespace vorn
