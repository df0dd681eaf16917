// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/transfer/http_message.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

/// What can be wrong with a phone's answers in HTTP.
namespace vorn::rig {

/// answerFaultHelp() tells what each does.
enum class BodyFault {
    none,
    silent,
    shortened,
    lengthened,
    cut,
    ended,
    hanging,
    slow,
    chunked,
    endless,
    wrong,
};

struct HeaderChange {
    enum class Kind { set, remove, twice, add };
    Kind kind = Kind::set;
    QByteArray name;
    QByteArray value;
};

/// The faults of the answers of one kind.
struct AnswerFaults {
    int goodAnswers = 0;            ///< so many come first
    int status = 0;                 ///< 0: the right one
    std::optional<QByteArray> text; ///< in place of the body
    BodyFault body = BodyFault::none;
    qint64 bodyNumber = 0;
    QList<HeaderChange> headers;
};

/// Turns one fault, such as "body cut 1000" or "header ETag none". Throws RigError.
void turnAnswerFault(AnswerFaults &faults, const QString &words);
/// What turnAnswerFault() understands.
[[nodiscard]] QStringList answerFaultHelp();

/// The answer with its faults. What is told beside the body, such as Content-Length, stays right
/// unless a fault is about it.
[[nodiscard]] HttpAnswer spoiled(HttpAnswer answer, const AnswerFaults &faults);

} // namespace vorn::rig
