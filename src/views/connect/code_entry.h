// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "views/connect/secure_connect_view_model.h"

#include <QObject>
#include <QQmlParserStatus>
#include <QString>

namespace vorn {

/// Carries the pairing code between a text field and the view model, past JavaScript, which would
/// keep every text that it has seen until it tidies up. What the field has drawn is overwritten as
/// soon as it shows something else. Context: UI thread.
class CodeEntry : public QObject, public QQmlParserStatus {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    Q_PROPERTY(QObject *field MEMBER m_field REQUIRED)
    Q_PROPERTY(vorn::SecureConnectViewModel *connection MEMBER m_connection REQUIRED)
public:
    CodeEntry() = default;
    ~CodeEntry() override;
    CodeEntry(const CodeEntry &) = delete;
    CodeEntry &operator=(const CodeEntry &) = delete;

    void classBegin() override {}
    void componentComplete() override;

private Q_SLOTS:
    void take();
    void keepDrawn();

private:
    void show();
    [[nodiscard]] QString textOf(const char *property) const;

    QObject *m_field = nullptr;
    SecureConnectViewModel *m_connection = nullptr;
    QString m_drawn; ///< the field's own second copy, held so that it does not get away
};

} // namespace vorn
