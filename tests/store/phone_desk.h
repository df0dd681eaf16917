// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/files.h"
#include "base/json_text.h"
#include "messages.h"
#include "outcome.h"
#include "rig_phones.h"
#include "support.h"

#include <QJsonArray>
#include <QTemporaryDir>

namespace vorn {

/// Phones in Transfer Mode, and a store with a library of its own that pairs with them.
class PhoneDesk {
public:
    explicit PhoneDesk(const RigPhonesOptions &options) : phones(options)
    {
        phones.must(QStringLiteral("all server on"));
        open();
    }

    /// Starts the store on the library that is there.
    void open()
    {
        m_store.reset();
        m_store = std::make_unique<AppStore>(storage(), recordings());
    }
    /// A store on another, empty library.
    void startOver()
    {
        m_store.reset();
        m_folder = std::make_unique<QTemporaryDir>();
        open();
    }
    void close() { m_store.reset(); }

    [[nodiscard]] AppStore &store() { return *m_store; }
    [[nodiscard]] QString storage() const { return m_folder->filePath(QStringLiteral("storage")); }
    [[nodiscard]] QString recordings() const
    {
        return m_folder->filePath(QStringLiteral("recordings"));
    }
    [[nodiscard]] QByteArray libraryText() const
    {
        const QString path = storage() + QStringLiteral("/library.json");
        return somethingExistsAt(path) ? readFile(path, 1 << 24) : QByteArray();
    }

    /// What discovery would list of a phone that is in Transfer Mode.
    [[nodiscard]] DiscoveredDevice device(const QString &camera) { return phones.shared(camera); }

    [[nodiscard]] QCoro::Task<bool> pairing(const QString &camera)
    {
        phones.must(camera + QStringLiteral(" code"));
        return m_store->pairAndConnect(device(camera), code(camera), true);
    }
    /// Pairs; false when that failed.
    [[nodiscard]] bool pair(const QString &camera)
    {
        const bool isPaired = Outcome(pairing(camera)).value();
        if (!isPaired)
            qWarning("%s", qPrintable(m_store->errorMessage().value_or(QString())));
        return isPaired;
    }

    /// A download of the selected take that has begun: its first recording comes slowly.
    [[nodiscard]] Outcome<bool> slowDownload(const QString &camera)
    {
        phones.must(camera + QStringLiteral(" http files body slow 1000"));
        Outcome download(ended(m_store->downloadSelectedTake()));
        const auto hasBegun = [this] {
            const auto &progress = m_store->downloadProgress();
            return progress && progress->clipBytes > 0;
        };
        constexpr int patienceMs = 20'000;
        if (!QTest::qWaitFor(hasBegun, patienceMs))
            qFatal("no download begins");
        return download;
    }

    [[nodiscard]] QString code(const QString &camera)
    {
        return phones.transfer(camera)[QStringLiteral("code")].toString();
    }
    /// How many requests of a kind a phone has had: pair, catalog, files, end.
    [[nodiscard]] int requests(const QString &camera, const QString &route)
    {
        return phones.transfer(camera)[QStringLiteral("requestsByRoute")][route].toInt();
    }

    RigPhones phones;

private:
    std::unique_ptr<QTemporaryDir> m_folder = std::make_unique<QTemporaryDir>();
    std::unique_ptr<AppStore> m_store;
};

} // namespace vorn
