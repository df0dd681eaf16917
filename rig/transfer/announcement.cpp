// SPDX-License-Identifier: Apache-2.0

#include "rig/transfer/announcement.h"

#include "net/avahi_poll.h"
#include "rig/base/rig_error.h"

#include <QCryptographicHash>
#include <QNetworkInterface>
#include <QTimer>

#include <avahi-common/alternative.h>
#include <avahi-common/domain.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-core/core.h>
#include <avahi-core/log.h>
#include <avahi-core/publish.h>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace vorn::rig {
namespace {

constexpr auto domain = "local";

using StringList = std::unique_ptr<AvahiStringList, decltype(&avahi_string_list_free)>;

void check(int error, const QString &what)
{
    if (error < 0)
        throw RigError(
            u"%1 cannot be announced: %2."_s.arg(what, QString::fromUtf8(avahi_strerror(error))));
}

std::shared_ptr<AvahiServer> sharedServer()
{
    thread_local std::weak_ptr<AvahiServer> current;
    if (auto server = current.lock())
        return server;
    avahi_set_log_function([](AvahiLogLevel level, const char *text) {
        if (level <= AVAHI_LOG_ERROR)
            std::fprintf(stderr, "%s\n", text);
    });
    AvahiServerConfig config;
    avahi_server_config_init(&config);
    config.use_ipv6 = 0;
    config.enable_wide_area = 0;
    config.publish_addresses = 0;
    config.publish_hinfo = 0;
    config.publish_workstation = 0;
    config.publish_domain = 0;
    int error = 0;
    AvahiServer *server = avahi_server_new(
        avahiPoll(), &config, [](AvahiServer *, AvahiServerState, void *) {}, nullptr, &error);
    avahi_server_config_free(&config);
    check(error, u"Phones"_s);
    std::shared_ptr<AvahiServer> made(server, avahi_server_free);
    current = made;
    return made;
}

StringList textRecord(const ServiceText &text)
{
    StringList list(nullptr, avahi_string_list_free);
    for (const auto &[key, value] : text)
        list.reset(avahi_string_list_add_pair_arbitrary(
            list.release(), key.toUtf8().constData(),
            reinterpret_cast<const uint8_t *>(value.constData()), std::size_t(value.size())));
    return list;
}

// Such as "cam-a-1f3c.local": what can be read of the name, and what no other announcement has.
QByteArray hostName(const QByteArray &serviceName, const QByteArray &seed)
{
    QByteArray host;
    for (const char character :
         serviceName.toLower().first(std::min<qsizetype>(serviceName.size(), 40))) {
        const bool isLetter =
            (character >= 'a' && character <= 'z') || (character >= '0' && character <= '9');
        if (isLetter || (character == '-' && !host.isEmpty()))
            host += character;
    }
    const QByteArray digest = QCryptographicHash::hash(seed, QCryptographicHash::Sha256).toHex();
    return (host.isEmpty() ? "phone" : host) + '-' + digest.first(4) + '.' + domain;
}

int interfaceOf(const QHostAddress &address)
{
    for (const QNetworkInterface &interface : QNetworkInterface::allInterfaces()) {
        for (const QNetworkAddressEntry &entry : interface.addressEntries()) {
            if (entry.ip() == address)
                return interface.index();
        }
    }
    throw RigError(u"%1 is no address of this computer."_s.arg(address.toString()));
}

} // namespace

Announcement::Announcement(const QString &serviceName, const QString &type,
                           const QHostAddress &address, quint16 port, const ServiceText &text)
    : m_server(sharedServer()),
      m_name(serviceName.toUtf8()),
      m_type(type.toUtf8()),
      m_address(address),
      m_port(port),
      m_text(text),
      m_interface(interfaceOf(address))
{
    m_group = avahi_s_entry_group_new(
        m_server.get(),
        [](AvahiServer *, AvahiSEntryGroup *, AvahiEntryGroupState state, void *userdata) {
            auto *self = static_cast<Announcement *>(userdata);
            if (state == AVAHI_ENTRY_GROUP_ESTABLISHED)
                Q_EMIT self->published();
            else if (state == AVAHI_ENTRY_GROUP_COLLISION || state == AVAHI_ENTRY_GROUP_FAILURE)
                self->giveWay();
        },
        this);
    if (!m_group)
        throw RigError(u"%1 cannot be announced."_s.arg(serviceName));
    try {
        add();
    } catch (...) {
        avahi_s_entry_group_free(m_group);
        throw;
    }
}

Announcement::~Announcement()
{
    avahi_s_entry_group_free(m_group);
}

// Whoever probes for the same name at the same time is often this phone's own last announcement,
// the probes of which are still under way: RFC 6762 section 8.2 has the loser ask again a second
// later.
void Announcement::giveWay()
{
    constexpr int mostAttempts = 4;
    constexpr int pauseMs = 1000;
    if (++m_attempts == mostAttempts) {
        std::fprintf(stderr, "%s is not announced: the name is taken.\n", m_name.constData());
        return;
    }
    QTimer::singleShot(pauseMs, this, [this] {
        avahi_s_entry_group_reset(m_group);
        try {
            add();
        } catch (const RigError &error) {
            std::fprintf(stderr, "%s\n", error.what());
        }
    });
}

void Announcement::add()
{
    const QString what = QString::fromUtf8(m_name);
    const QByteArray seed = m_name + '|' + m_type + '|' + m_address.toString().toUtf8() + '|'
                            + QByteArray::number(m_port);
    const QByteArray host = hostName(m_name, seed);
    AvahiAddress record{};
    if (!avahi_address_parse(m_address.toString().toUtf8().constData(), AVAHI_PROTO_INET, &record))
        throw RigError(u"%1 is no IPv4 address."_s.arg(m_address.toString()));
    check(avahi_server_add_address(m_server.get(), m_group, m_interface, AVAHI_PROTO_INET,
                                   AVAHI_PUBLISH_NO_REVERSE, host.constData(), &record),
          what);
    check(avahi_server_add_service_strlst(m_server.get(), m_group, m_interface, AVAHI_PROTO_INET,
                                          AvahiPublishFlags(0), m_name.constData(),
                                          m_type.constData(), domain, host.constData(), m_port,
                                          textRecord(m_text).get()),
          what);
    check(avahi_s_entry_group_commit(m_group), what);
}

void Announcement::setText(const ServiceText &text)
{
    m_text = text;
    check(avahi_server_update_service_txt_strlst(
              m_server.get(), m_group, m_interface, AVAHI_PROTO_INET, AvahiPublishFlags(0),
              m_name.constData(), m_type.constData(), domain, textRecord(text).get()),
          QString::fromUtf8(m_name));
}

} // namespace vorn::rig
