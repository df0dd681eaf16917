// SPDX-License-Identifier: Apache-2.0

#include "drift/anchor_fit.h"
#include "drift/drift_error.h"
#include "support.h"

#include <QtTest>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>
#include <random>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

const QString needFive = u"Need a positive duration and at least five verified anchors."_s;
const QString outOfRange = u"An anchor is outside the accepted media range or confidence limits."_s;
const QString notIncreasing = u"Anchors must be strictly increasing in both media timelines."_s;
const QString middleUnverified = u"Anchors leave too much of the middle of the take unverified."_s;
const QString endsUnverified = u"Anchors must cover the beginning and end of the take."_s;
const QString noSpan = u"Anchors do not span enough media time."_s;
const QString nonlinear =
    u"Timing is nonlinear or drift is excessive; manual review is required."_s;

using Anchors = std::vector<TimingAnchor>;

/// Six anchors of a clip of 100 seconds, on reference = source + 2.5.
Anchors shiftedAnchors()
{
    Anchors anchors;
    for (const double source : {0.0, 20.0, 40.0, 60.0, 80.0, 100.0})
        anchors.push_back({source, source + 2.5, 0.9, 1.0});
    return anchors;
}

/// Anchors of a clip of 100 seconds at these source times, on reference = slope * source.
Anchors anchorsAt(std::initializer_list<double> sources, double slope = 1)
{
    Anchors anchors;
    for (const double source : sources)
        anchors.push_back({source, slope * source, 1.0, 1.0});
    return anchors;
}

Anchors changed(std::size_t index, double TimingAnchor::*field, double value)
{
    Anchors anchors = shiftedAnchors();
    anchors[index].*field = value;
    return anchors;
}

double above(double value)
{
    return std::nextafter(value, infinity);
}

double below(double value)
{
    return std::nextafter(value, -infinity);
}

// The second opinion. It shares neither the arithmetic (long double has at least 11 bits more) nor
// the formula (the normal equations without centring, over the list as it comes) with the code
// under test.

using Real = long double;
static_assert(LDBL_MANT_DIG >= 64, "the second opinion needs more digits than double has");

struct SecondOpinion {
    Real slope = 0;
    Real intercept = 0;
    Real meanDifference = 0;
    Real residualMs = 0;
    Real uncertaintyMs = 0;
};

SecondOpinion secondOpinion(const Anchors &anchors)
{
    Real w = 0, wx = 0, wy = 0, wxx = 0, wxy = 0;
    SecondOpinion result;
    for (const TimingAnchor &anchor : anchors) {
        const Real x = anchor.sourceSeconds;
        const Real y = anchor.referenceSeconds;
        const Real weight = 1 / (Real(anchor.uncertaintyMs) * Real(anchor.uncertaintyMs));
        w += weight;
        wx += weight * x;
        wy += weight * y;
        wxx += weight * x * x;
        wxy += weight * x * y;
        result.uncertaintyMs = std::max(result.uncertaintyMs, Real(anchor.uncertaintyMs));
    }
    const Real determinant = w * wxx - wx * wx;
    result.slope = (w * wxy - wx * wy) / determinant;
    result.intercept = (wy * wxx - wx * wxy) / determinant;
    result.meanDifference = (wy - wx) / w;
    for (const TimingAnchor &anchor : anchors)
        result.residualMs =
            std::max(result.residualMs, std::abs(Real(anchor.referenceSeconds) - result.intercept
                                                 - result.slope * Real(anchor.sourceSeconds))
                                            * 1000);
    return result;
}

struct Recording {
    Anchors anchors;
    double duration = 0;
};

/// Seconds to hours of media, offsets to a day, drift to 1,200 ppm, noise to 6 ms.
Recording randomRecording(std::mt19937_64 &random)
{
    const auto between = [&](double low, double high) {
        return std::uniform_real_distribution(low, high)(random);
    };
    Recording recording;
    recording.duration = std::exp(between(0, std::log(30'000.0)));
    const auto count = std::size_t(between(5, 200));
    const double slope = 1 + between(-0.0012, 0.0012);
    const double offset = between(0.1, 1) * (between(0, 1) < 0.5 ? 10 : 86'400);
    // Noise that leaves neighbours in order.
    const double noise = std::min(between(0, 0.006), 0.3 * recording.duration / double(count));
    for (std::size_t index = 0; index < count; ++index) {
        const double place = (double(index) + between(0.1, 0.2)) / (double(count) - 0.6);
        const double source = std::min(place, 1.0) * recording.duration;
        recording.anchors.push_back({source, offset + slope * source + between(-noise, noise),
                                     between(0.8, 1), between(0.05, 5)});
    }
    return recording;
}

} // namespace

class AnchorFitTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void refusesDoubtfulAnchors_data()
    {
        QTest::addColumn<Anchors>("anchors");
        QTest::addColumn<double>("duration");
        QTest::addColumn<QString>("refusal"); // empty: accepted
        const auto row = [](const char *name, const Anchors &anchors, const QString &refusal = {},
                            double duration = 100) {
            QTest::newRow(name) << anchors << duration << refusal;
        };
        using A = TimingAnchor;

        row("five are enough", anchorsAt({0, 25, 50, 75, 100}));
        row("four are not", anchorsAt({0, 33, 66, 100}), needFive);
        row("no duration", shiftedAnchors(), needFive, 0);
        row("infinite duration", shiftedAnchors(), needFive, infinity);
        row("unknown duration", shiftedAnchors(), needFive, notANumber);
        row("duration before range", changed(1, &A::confidence, 0), needFive, notANumber);

        row("least confidence", changed(2, &A::confidence, 0.8));
        row("less confidence", changed(2, &A::confidence, below(0.8)), outOfRange);
        row("full confidence", changed(2, &A::confidence, 1.0));
        row("more than full", changed(2, &A::confidence, above(1.0)), outOfRange);
        row("most uncertainty", changed(2, &A::uncertaintyMs, 5.0));
        row("more uncertainty", changed(2, &A::uncertaintyMs, above(5.0)), outOfRange);
        row("no uncertainty", changed(2, &A::uncertaintyMs, 0), outOfRange);
        row("source at the end", changed(5, &A::sourceSeconds, 100), {});
        row("source past the end", changed(5, &A::sourceSeconds, above(100)), outOfRange);
        row("source before zero", changed(0, &A::sourceSeconds, below(0)), outOfRange);
        row("reference before zero", changed(0, &A::referenceSeconds, below(0)), outOfRange);

        row("equal source times", changed(2, &A::sourceSeconds, 20), notIncreasing);
        row("equal reference times", changed(2, &A::referenceSeconds, 22.5), notIncreasing);
        Anchors rangeAndOrder = changed(0, &A::sourceSeconds, 20);
        rangeAndOrder[4].confidence = 0.5;
        row("range before order", rangeAndOrder, outOfRange);

        row("largest gap", anchorsAt({0, 35, 50, 75, 100}));
        row("gap too large", anchorsAt({0, above(35), 50, 75, 100}), middleUnverified);
        row("gap at the end", anchorsAt({0, 20, 40, 64, 100}), middleUnverified);
        row("gap before coverage", anchorsAt({11, 47, 60, 75, 100}), middleUnverified);
        row("latest first", anchorsAt({10, 30, 50, 75, 100}));
        row("first too late", anchorsAt({above(10), 30, 50, 75, 100}), endsUnverified);
        row("earliest last", anchorsAt({0, 25, 50, 75, 90}));
        row("last too early", anchorsAt({0, 25, 50, 75, below(90)}), endsUnverified);

        // The slope of a fit carries a rounding error of its own: a millionth beside the gate.
        row("most drift ahead", anchorsAt({0, 25, 50, 75, 100}, 1.001 - 1e-9));
        row("too much ahead", anchorsAt({0, 25, 50, 75, 100}, 1.001 + 1e-9), nonlinear);
        row("most drift behind", anchorsAt({0, 25, 50, 75, 100}, 0.999 + 1e-9));
        row("too much behind", anchorsAt({0, 25, 50, 75, 100}, 0.999 - 1e-9), nonlinear);
        // Symmetric about the middle: the slope stays 1 and the middle anchor's residual is 4/5
        // of its error.
        Anchors bent = anchorsAt({0, 25, 50, 75, 100});
        bent[2].referenceSeconds = 50 + 0.00625 * (1 - 1e-6);
        row("most residual", bent);
        bent[2].referenceSeconds = 50 + 0.00625 * (1 + 1e-6);
        row("too much residual", bent, nonlinear);
    }

    void refusesDoubtfulAnchors()
    {
        QFETCH(const Anchors, anchors);
        QFETCH(const double, duration);
        QFETCH(const QString, refusal);
        try {
            (void)DriftEngine::fit(anchors, duration);
            QCOMPARE(QString(), refusal);
        } catch (const DriftExportError &error) {
            QCOMPARE(QString::fromUtf8(error.what()), refusal);
            QVERIFY(error.kind() == DriftExportError::Case::invalid);
        }
    }

    void refusesWhatIsNoNumberWhereverItStands()
    {
        for (double TimingAnchor::*const field :
             {&TimingAnchor::sourceSeconds, &TimingAnchor::referenceSeconds,
              &TimingAnchor::confidence, &TimingAnchor::uncertaintyMs})
            for (const double value : {notANumber, infinity, -infinity})
                for (std::size_t index = 0; index < shiftedAnchors().size(); ++index)
                    QCOMPARE(thrownText([&] {
                                 (void)DriftEngine::fit(changed(index, field, value), 100);
                             }),
                             outOfRange);
    }

    void refusesNumbersThatOverflowTheSums_data()
    {
        QTest::addColumn<double>("scale");
        QTest::addColumn<double>("referenceScale");
        QTest::addColumn<double>("uncertaintyMs");
        QTest::addColumn<QString>("refusal");
        constexpr double largest = std::numeric_limits<double>::max();
        QTest::newRow("source times") << largest / 100 << largest / 100 << 1.0 << noSpan;
        QTest::newRow("reference times") << 1.0 << largest / 100 << 0.1 << nonlinear;
        QTest::newRow("one weight")
            << 1.0 << 1.0 << std::numeric_limits<double>::denorm_min() << noSpan;
        // Each weight is finite and only their sum is not. Short media, so that the spread is.
        QTest::newRow("sum of weights") << 1e-5 << 1e-5 << 8e-155 << noSpan;
    }

    void refusesNumbersThatOverflowTheSums()
    {
        QFETCH(const double, scale);
        QFETCH(const double, referenceScale);
        QFETCH(const double, uncertaintyMs);
        QFETCH(const QString, refusal);
        Anchors anchors;
        for (const double place : {0.0, 25.0, 50.0, 75.0, 100.0})
            anchors.push_back({place * scale, place * referenceScale, 1.0, uncertaintyMs});
        QCOMPARE(thrownText([&] { (void)DriftEngine::fit(anchors, 100 * scale); }), refusal);
        QVERIFY(!DriftEngine::freeLine(anchors));
    }

    void retimesOnlyWhatExceedsTheUncertainty()
    {
        // Dyadic times: slope 1 + 2^-10, weights and sums are exact, and so is the drift of 8 ms.
        constexpr double slope = 1 + 1.0 / 1024;
        Anchors anchors = anchorsAt({0, 2, 4, 6, 8}, slope);
        for (TimingAnchor &anchor : anchors) {
            anchor.referenceSeconds += 16;
            anchor.uncertaintyMs = 2;
        }
        const DriftCorrection kept{.offsetSeconds = 16 + 4.0 / 1024, .endpointUncertaintyMs = 4};
        const DriftCorrection retimed{.offsetSeconds = 16,
                                      .referenceSecondsPerSourceSecond = slope,
                                      .driftPPM = 976.5625,
                                      .endpointUncertaintyMs = 4,
                                      .retime = true};
        QVERIFY(DriftEngine::fit(anchors, 8.192) == kept); // the drift equals the bound
        QVERIFY(DriftEngine::fit(anchors, above(8.192)) == retimed);
    }

    void agreesWithASecondOpinionInAnyOrder()
    {
        std::mt19937_64 random(20240607);
        int accepted = 0;
        int refused = 0;
        for (int round = 0; round < 600; ++round) {
            const Recording recording = randomRecording(random);
            const SecondOpinion opinion = secondOpinion(recording.anchors);
            const Real drift = std::abs(opinion.slope - 1);
            const Real endpointMs = opinion.residualMs + 2 * opinion.uncertaintyMs;
            const Real driftMs = drift * Real(recording.duration) * 1000;
            // Right at a gate either answer is right.
            if (std::abs(opinion.residualMs - 5) < 1e-5L || std::abs(drift - 0.001L) < 1e-11L
                || std::abs(driftMs - 2 * endpointMs) < 1e-5L)
                continue;
            if (opinion.residualMs > 5 || drift > 0.001L) {
                ++refused;
                QCOMPARE(thrownText([&] {
                             (void)DriftEngine::fit(recording.anchors, recording.duration);
                         }),
                         nonlinear);
                continue;
            }
            ++accepted;
            const DriftCorrection correction =
                DriftEngine::fit(recording.anchors, recording.duration);
            QCOMPARE(correction.retime, driftMs > 2 * endpointMs);
            const Real offset = correction.retime ? opinion.intercept : opinion.meanDifference;
            const Real slope = correction.retime ? opinion.slope : 1;
            QVERIFY(std::abs(Real(correction.offsetSeconds) - offset)
                    <= 1e-9L + 1e-12L * std::abs(offset));
            QVERIFY(std::abs(Real(correction.referenceSecondsPerSourceSecond) - slope) <= 1e-12L);
            QVERIFY(std::abs(Real(correction.driftPPM) - (slope - 1) * 1'000'000) <= 1e-6L);
            QVERIFY(std::abs(Real(correction.maxResidualMs) - opinion.residualMs) <= 1e-6L);
            QVERIFY(std::abs(Real(correction.endpointUncertaintyMs) - endpointMs) <= 1e-6L);

            Anchors shuffled = recording.anchors;
            std::ranges::shuffle(shuffled, random);
            QVERIFY(DriftEngine::fit(shuffled, recording.duration) == correction);
        }
        QVERIFY2(accepted > 200 && refused > 100,
                 qPrintable(u"%1 accepted, %2 refused"_s.arg(accepted).arg(refused)));
    }
};

QTEST_GUILESS_MAIN(AnchorFitTest)
#include "anchor_fit_test.moc"
