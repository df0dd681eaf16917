// SPDX-License-Identifier: Apache-2.0

#include "rig/film/cut_decisions.h"

#include "base/files.h"
#include "base/json_text.h"
#include "rig/base/rig_error.h"

#include <QJsonArray>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

constexpr std::int64_t maximumListBytes = 1 << 20;

ScriptedDecision decisionOf(const QJsonValue &entry)
{
    for (const auto kind : {DecisionKind::cut, DecisionKind::fade, DecisionKind::mark}) {
        if (entry[u"kind"_s] != decisionKindText(kind))
            continue;
        const QString cameraId = entry[u"cameraId"_s].toString();
        if ((cameraId.isEmpty() && kind != DecisionKind::mark)
            || !entry[u"sceneSeconds"_s].isDouble())
            break;
        return {kind, cameraId, entry[u"sceneSeconds"_s].toDouble()};
    }
    throw RigError(u"The list of decisions has an entry that is none."_s);
}

} // namespace

QString decisionKindText(DecisionKind kind)
{
    switch (kind) {
    case DecisionKind::cut:
        return u"CUT"_s;
    case DecisionKind::fade:
        return u"FADE"_s;
    case DecisionKind::mark:
        return u"MARK"_s;
    }
    Q_UNREACHABLE();
}

std::vector<ScriptedDecision> readDecisions(const QString &path)
{
    const QJsonDocument document = parseJson(readFile(path, maximumListBytes));
    if (!document.isArray())
        throw RigError(u"%1 is no list of decisions."_s.arg(path));
    std::vector<ScriptedDecision> decisions;
    for (const QJsonValue entry : document.array()) {
        decisions.push_back(decisionOf(entry));
        if (decisions.size() > 1
            && decisions.back().sceneSeconds < decisions[decisions.size() - 2].sceneSeconds)
            throw RigError(u"The list of decisions is not in the order of time."_s);
    }
    return decisions;
}

} // namespace vorn::rig
