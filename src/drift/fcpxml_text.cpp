// SPDX-License-Identifier: Apache-2.0

#include "drift/fcpxml_text.h"

#include "drift/drift_error.h"

#include <QUrl>

#include <cmath>
#include <numeric>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr std::int64_t largestDenominator = 1'000'000;
constexpr double wholeTolerance = 1e-12;
constexpr double twoToThe63 = 9223372036854775808.0;

struct Fraction {
    std::int64_t numerator = 0;
    std::int64_t denominator = 0;
};

[[noreturn]] void refuseTime(double value)
{
    throw DriftExportError::invalid(u"A time of "_s + QString::number(value)
                                    + u" seconds is too large for the timeline document."_s);
}

QString text(const Fraction &time)
{
    return QString::number(time.numerator) + u'/' + QString::number(time.denominator) + u's';
}

/// The last convergent of the continued fraction of `value`, 0 or above, within the bound.
Fraction approximated(double value)
{
    Fraction beforeLast{0, 1};
    Fraction last{1, 0};
    double rest = value;
    for (;;) {
        // Only the first whole part can be this large: later ones are at most 1 / wholeTolerance.
        if (!(rest < twoToThe63))
            refuseTime(value);
        const auto whole = std::int64_t(rest);
        const std::int64_t denominator = whole * last.denominator + beforeLast.denominator;
        if (denominator > largestDenominator)
            return last;
        Fraction next{0, denominator};
        if (__builtin_mul_overflow(whole, last.numerator, &next.numerator)
            || __builtin_add_overflow(next.numerator, beforeLast.numerator, &next.numerator))
            refuseTime(value);
        const double fraction = rest - double(whole);
        if (fraction < wholeTolerance)
            return next;
        beforeLast = last;
        last = next;
        rest = 1 / fraction;
    }
}

bool isXmlCharacter(char32_t character)
{
    return character == 0x9 || character == 0xA || character == 0xD
           || (character >= 0x20 && character <= 0xD7FF)
           || (character >= 0xE000 && character <= 0xFFFD)
           || (character >= 0x10000 && character <= 0x10FFFF);
}

/// The attributes that formats share, from the rate to the end of the element.
QString formatEnd(double fps, const MediaInfo &media)
{
    return u"\" frameDuration=\""_s + DriftEngine::seconds(1 / fps) + u"\" width=\""_s
           + QString::number(media.width) + u"\" height=\""_s + QString::number(media.height)
           + u"\"/>"_s;
}

/// Format and asset of the clip with this number.
QString resource(const QString &number, const Prepared &item)
{
    return u"<format id=\"format-"_s + number + formatEnd(item.media.fps, item.media)
           + u"<asset id=\"asset-"_s + number + u"\" name=\""_s
           + DriftEngine::xmlEscape(item.clip.cameraId) + u"\" src=\""_s
           + DriftEngine::xmlEscape(DriftEngine::fileURLText(item.path))
           + u"\" start=\"0s\" duration=\""_s + DriftEngine::seconds(item.media.duration)
           + u"\" hasVideo=\"1\" hasAudio=\""_s + (item.media.hasAudio ? u'1' : u'0')
           + u"\" format=\"format-"_s + number + u"\"/>"_s;
}

} // namespace

QString DriftEngine::seconds(double value)
{
    if (!std::isfinite(value))
        return u"0s"_s;
    Fraction time = approximated(std::abs(value));
    if (value < 0)
        time.numerator = -time.numerator;
    return text(time);
}

QString DriftEngine::frameTime(std::int64_t frames, double fps)
{
    const Fraction frame = approximated(1 / fps);
    const std::int64_t common = std::gcd(frames, frame.denominator); // 1 at least
    Fraction time{0, frame.denominator / common};
    if (__builtin_mul_overflow(frames / common, frame.numerator, &time.numerator))
        refuseTime(double(frames) / fps);
    return text(time);
}

QString DriftEngine::xmlEscape(const QString &text)
{
    // The ampersand first: the others bring their own.
    return QString(text)
        .replace(u'&', u"&amp;"_s)
        .replace(u'"', u"&quot;"_s)
        .replace(u'<', u"&lt;"_s)
        .replace(u'>', u"&gt;"_s);
}

QString DriftEngine::xmlText(const QString &text)
{
    QString result;
    for (const char32_t character : text.toUcs4()) // makes a lone surrogate U+FFFD
        result += QChar::fromUcs4(
            isXmlCharacter(character) ? character : char32_t{QChar::ReplacementCharacter});
    return result;
}

QString DriftEngine::fileURLText(const QString &path)
{
    // What RFC 3986 lets stand in a path segment. The semicolon could: parsers of old split
    // parameters off there.
    constexpr auto plainCharacters = "/!$&'()*+,:=@";
    return u"file://"_s + QString::fromLatin1(QUrl::toPercentEncoding(path, plainCharacters));
}

QString DriftEngine::timeMap(const Placement &placement)
{
    return u"<timeMap frameSampling=\"floor\" preservesPitch=\"1\"><timept time=\"0s\" value=\""_s
           + seconds(placement.sourceStart) + u"\" interp=\"linear\"/><timept time=\""_s
           + seconds(placement.duration) + u"\" value=\""_s + seconds(placement.sourceEnd)
           + u"\" interp=\"linear\"/></timeMap>"_s;
}

QString DriftEngine::fcpxmlDocument(const QString &eventName, const QString &sequenceName,
                                    double fps, const std::vector<Placement> &placements,
                                    const QString &length, const QString &spine)
{
    Q_ASSERT(!placements.empty());
    QString resources;
    for (std::size_t index = 0; index < placements.size(); ++index)
        resources += resource(QString::number(index + 1), placements[index].item);
    return u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE fcpxml>\n"_s
           + u"<fcpxml version=\"1.7\"><resources><format id=\"timeline-format"_s
           + formatEnd(fps, placements.front().item.media) + resources
           + u"</resources><event name=\""_s + xmlEscape(eventName) + u"\"><project name=\""_s
           + xmlEscape(sequenceName) + u"\"><sequence format=\"timeline-format\" duration=\""_s
           + length
           + u"\" tcStart=\"0s\" tcFormat=\"NDF\" audioLayout=\"stereo\" audioRate=\"48k\"><spine>"_s
           + spine + u"</spine></sequence></project></event></fcpxml>"_s;
}

} // namespace vorn
