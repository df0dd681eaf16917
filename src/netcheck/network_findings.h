// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/listening_report.h"
#include "net/resolved_service.h"
#include "netcheck/system_look.h"

#include <QString>

#include <vector>

namespace vorn {

/// A camera that is online.
struct HeardCamera {
    QString name; ///< as it calls itself; empty where names are not to be told
    QString host; ///< dotted IPv4

    bool operator==(const HeardCamera &) const = default;
};

/// All that is known of why cameras are seen or not, at one moment.
struct NetworkFacts {
    ListeningReport listening;
    QString listeningProblem; ///< why the port is not open; empty while it is
    SystemLook system;
    ServiceSource services = ServiceSource::none;
    qsizetype fileServers = 0; ///< of cameras, that are listed
    std::vector<HeardCamera> cameras;
};

/// One thing that was looked at.
struct NetworkFinding {
    QString title;
    bool isGood = true;
    QString statement; ///< what is so
    QString advice;    ///< what to do; empty where nothing is to be done

    bool operator==(const NetworkFinding &) const = default;
};

/// What the facts mean, in an order that stays the same while the facts change: the port, each
/// network, what was left out, what was heard, the scan, the phones, and what may stand in the way.
/// Of what the system does not tell, one finding says so and the others are silent.
/// Pure.
[[nodiscard]] std::vector<NetworkFinding> networkFindings(const NetworkFacts &facts);

} // namespace vorn
