// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/files.h"
#include "rig/base/cast.h"
#include "rig/transfer/announcement.h"
#include "rig/transfer/answer_faults.h"
#include "rig/transfer/http_message.h"
#include "rig/transfer/media.h"
#include "rig/transfer/tls_identity.h"
#include "rig/transfer/transfer_connection.h"
#include "rig/transfer/transfer_journal.h"
#include "rig/transfer/transfer_session.h"

#include <QHostAddress>
#include <QJsonObject>
#include <QTcpServer>
#include <QTimer>

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace vorn::rig {

/// What a phone serves in Transfer Mode: pairing, catalog and files over HTTPS, with a fresh
/// certificate for each stay, and announced unless it is on loopback. When the stay is over, by the
/// computer's word or by the clock, the port stays open and answers 401, until stop() or the next
/// begin().
class TransferServer : public QTcpServer {
    Q_OBJECT
public:
    /// Throws what phoneMedia() throws.
    TransferServer(int castIndex, const MediaOptions &media, QObject *parent = nullptr);
    ~TransferServer() override;

    /// Begins a stay in Transfer Mode at a port of the system's choice, in place of one that runs.
    /// Throws RigError.
    void begin(const QHostAddress &address);
    /// Closes the port and all connections; the stay is over.
    void stop();
    /// Goes on at another address.
    void move(const QHostAddress &address);

    /// All faults away.
    void resetFaults();
    /// Turns a switch. False when there is none of that name. Throws RigError.
    [[nodiscard]] bool turn(const QString &name, const QString &value);
    /// One line for each switch.
    [[nodiscard]] static QString help();

    /// What a person compares and types; empty while nobody can pair.
    [[nodiscard]] QString shownText() const;
    [[nodiscard]] QJsonObject state() const;

Q_SIGNALS:
    void begun(); ///< of a stay in Transfer Mode, and of another code
    void over();

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    struct Switch {
        QStringView name;
        QStringView value; ///< what to give, for the help
        QStringView about;
        void (*turn)(TransferServer &server, const QString &value);
    };
    enum class TlsFault { none, otherCertificate, silent };
    struct NamedTlsFault {
        QStringView name;
        TlsFault fault;
        QStringView about;
    };

    static const std::array<NamedTlsFault, 3> tlsFaults;
    [[nodiscard]] static const std::vector<Switch> &switches();

    void listenAt(const QHostAddress &address);
    void makeContext();
    void cutConnections();
    void announce();
    [[nodiscard]] ServiceText announcedText() const;
    void endSession();

    // Called by connections.
    [[nodiscard]] HttpAnswer answer(int connection, const HttpRequest &request);

    [[nodiscard]] HttpAnswer rightAnswer(const QString &route, const HttpRequest &request,
                                         QString &objection);
    [[nodiscard]] HttpAnswer pairingAnswer(const HttpRequest &request, QString &objection);
    [[nodiscard]] HttpAnswer fileAnswer(const HttpRequest &request, QString &objection) const;

    CastMember m_member;
    PhoneMedia m_media;
    QJsonObject m_catalog; ///< as it is told
    std::optional<TlsIdentity> m_identity;
    TransferSession m_session;                  ///< the last one
    std::shared_ptr<SSL_CTX> m_context;         ///< of the next connections
    std::optional<Announcement> m_announcement; ///< while a stay lasts
    QTimer m_expiry;
    bool m_isOver = true;
    TransferJournal m_journal;
    const TransferDesk m_desk{
        .answer = [this](int connection,
                         const HttpRequest &request) { return answer(connection, request); },
        .endSession = [this] { endSession(); },
        .journal = m_journal};
    std::map<int, FileDescriptor> m_silent; ///< connections that are not heard, by number

    TlsFault m_tlsFault = TlsFault::none;
    std::map<QString, std::optional<QByteArray>> m_textChanges; ///< none takes the key away
    int m_seconds = TransferSession::maximumSeconds;            ///< that a pairing lasts
    std::map<QString, QJsonValue> m_pairChanges;    ///< an undefined value takes the key away
    std::map<QString, AnswerFaults> m_answerFaults; ///< by route
};

} // namespace vorn::rig
