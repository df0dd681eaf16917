// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "views/library/work_progress_view_model.h"

#include <QObject>
#include <QWindow>
#include <QtQml/qqmlregistration.h>

namespace vorn {

class AppStore;

/// Reading the selected take's recordings anew, and saving their checksums. Context: UI thread.
class TakeCheckViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the dashboard view model.")
    Q_PROPERTY(bool available READ isAvailable NOTIFY changed)
    Q_PROPERTY(QString obstacle READ obstacle NOTIFY changed)
    Q_PROPERTY(QString outcome READ outcome NOTIFY changed)
    Q_PROPERTY(bool good READ isGood NOTIFY changed)
    Q_PROPERTY(vorn::WorkProgressViewModel *progress READ progress CONSTANT)
public:
    explicit TakeCheckViewModel(AppStore &store);

    [[nodiscard]] bool isAvailable() const { return obstacle().isEmpty(); }
    /// Why nothing can be read; empty when something can.
    [[nodiscard]] QString obstacle() const;
    /// What was last done with the recordings of this take, and what came of it; empty when nothing
    /// was.
    [[nodiscard]] QString outcome() const;
    /// Nothing was found that does not match.
    [[nodiscard]] bool isGood() const;
    [[nodiscard]] WorkProgressViewModel *progress() { return &m_progress; }

    Q_INVOKABLE void verify();
    /// Opens the panel that asks where to; what the user confirms is written.
    Q_INVOKABLE void saveChecksums(QWindow *window);

Q_SIGNALS:
    void changed();

private:
    AppStore &m_store;
    WorkProgressViewModel m_progress;
};

} // namespace vorn
