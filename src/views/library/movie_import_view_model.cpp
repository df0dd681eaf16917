// SPDX-License-Identifier: Apache-2.0

#include "views/library/movie_import_view_model.h"

#include "base/display_text.h"
#include "base/files.h"
#include "base/text_form.h"
#include "store/app_store.h"
#include "views/library/file_panels.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QPointer>

#include <cmath>
#include <ranges>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr std::size_t mostMovies = 64;
constexpr double farthestMetres = 300;

/// Where a movie begins in the reference's time.
double beginOf(const SoundLine &line)
{
    return -line.offsetSeconds / (1 + line.driftPPM * 1e-6);
}

QString beginText(double seconds)
{
    return u"Begins %1 s %2 the reference"_s.arg(QString::number(std::abs(seconds), 'f', 3),
                                                 seconds < 0 ? u"before"_s : u"after"_s);
}

QString clockText(double ppm)
{
    return u"its clock runs %1 ppm %2"_s.arg(QString::number(std::abs(ppm), 'f', 1),
                                             ppm < 0 ? u"slow"_s : u"fast"_s);
}

} // namespace

MovieImportViewModel::MovieImportViewModel(AppStore &store)
    : m_store(store),
      m_folder(QDir::homePath()),
      m_rows({{"cameraName", &MovieRow::cameraName},
              {"fileText", &MovieRow::fileText},
              {"stateText", &MovieRow::stateText},
              {"stateIcon", &MovieRow::stateIcon},
              {"problem", &MovieRow::problem},
              {"reference", &MovieRow::reference},
              {"leftOut", &MovieRow::leftOut},
              {"referenceObstacle", &MovieRow::referenceObstacle},
              {"picture", &MovieRow::picture}})
{
    connect(&store, &AppStore::libraryChanged, this, &MovieImportViewModel::changed);
}

MovieImportViewModel::~MovieImportViewModel()
{
    std::ranges::for_each(m_entries, stop);
}

QString MovieImportViewModel::summary() const
{
    if (!m_failure.isEmpty())
        return displayText(m_failure, longestMessage);
    if (isEmpty())
        return u"Choose two or more movies of one moment, or drop them here."_s;
    if (isRunning()) {
        const auto isHeard = [](const Entry &entry) { return entry.features != nullptr; };
        const auto isToHear = [this](const Entry &entry) {
            return !entry.isLeftOut && (!entry.isLookedAt || isUsable(entry));
        };
        return u"Listening… %1 of %2 movies heard."_s
            .arg(std::ranges::count_if(m_entries | std::views::filter(isToHear), isHeard))
            .arg(std::ranges::count_if(m_entries, isToHear));
    }
    const QString rest =
        m_hasTooMany ? u" Only the first %1 files were taken."_s.arg(mostMovies) : QString();
    const QString movies = movieObstacle();
    return (movies.isEmpty() ? u"All movies are aligned. "_s + obstacle() : movies).trimmed()
           + rest;
}

QString MovieImportViewModel::summaryIcon() const
{
    if (m_failure.isEmpty() && (isEmpty() || isRunning() || m_isCreating))
        return u"search"_s;
    return m_failure.isEmpty() && isAvailable() ? u"check"_s : u"warning"_s;
}

QString MovieImportViewModel::distanceText() const
{
    const std::optional<double> distance = metres();
    if (!distance || *distance == 0)
        return {};
    return u"Sound needs %1 ms for %2 m: so much later or earlier a movie may lie, throughout."_s
        .arg(QString::number(distanceMs(*distance), 'f', 0), QString::number(*distance));
}

QString MovieImportViewModel::movieObstacle() const
{
    if (isRunning())
        return u"Wait until all movies have been listened to."_s;
    int taken = 0;
    for (const Entry &entry : m_entries) {
        if (entry.isLeftOut)
            continue;
        if (!problemOf(entry).isEmpty())
            return u"Some movies cannot be aligned. Leave them out, or choose another reference."_s;
        ++taken;
    }
    return taken < 2 ? u"A take needs two movies or more."_s : QString();
}

QString MovieImportViewModel::nameObstacle() const
{
    QStringList names;
    for (const Entry &entry : m_entries) {
        const QString name = plainName(entry.cameraName);
        if (entry.isLeftOut)
            continue;
        if (name.isEmpty())
            return u"Name all cameras."_s;
        if (names.contains(name, Qt::CaseInsensitive))
            return u"Two cameras have the same name."_s;
        names += name;
    }
    const QString take = plainName(m_takeName);
    if (plainName(m_projectName).isEmpty() || !isBoundedText(take, maximumTakeIdBytes))
        return u"Name the project and the take, in a few words."_s;
    for (const VORNProject &project : m_store.library().projects) {
        if (findById(project.takes, take))
            return u"There is a take of this name. Choose another."_s;
    }
    if (!metres())
        return u"Give the distance in metres, from 0 to 300."_s;
    return {};
}

QString MovieImportViewModel::obstacle() const
{
    if (m_isCreating)
        return u"The take is being created."_s;
    const QString movies = movieObstacle();
    return movies.isEmpty() ? nameObstacle() : movies;
}

std::optional<double> MovieImportViewModel::metres() const
{
    const QString text = m_distance.trimmed().replace(u',', u'.');
    if (text.isEmpty())
        return 0;
    bool isNumber = false;
    const double number = QLocale::c().toDouble(text, &isNumber);
    return isNumber && number >= 0 && number <= farthestMetres ? std::optional(number)
                                                               : std::nullopt;
}

ClipCheck MovieImportViewModel::timingAt(int row) const
{
    ClipCheck timing;
    const MovieRow *shown = m_rows.at(row);
    const Entry *entry = shown ? entryOf(shown->key) : nullptr;
    const MovieAlignment *alignment = entry ? alignmentOf(*entry) : nullptr;
    if (!alignment)
        return timing;
    const SoundLine &line = alignment->line;
    for (const LagPoint &point : line.points)
        timing.anchors.push_back(
            {.referenceSeconds = point.referenceSeconds,
             .ms = (point.lagSeconds - line.lagAt(point.referenceSeconds)) * 1000});
    const double begin = beginOf(line);
    const double end = begin + entry->movie.seconds;
    timing.place.emplace();
    timing.place->start = std::max(0.0, begin);
    timing.place->headCut = std::max(0.0, -begin);
    timing.place->tailCut = std::max(0.0, end - referenceSeconds());
    timing.place->duration = entry->movie.seconds - timing.place->headCut - timing.place->tailCut;
    return timing;
}

double MovieImportViewModel::referenceSeconds() const
{
    const Entry *basis = reference();
    return basis ? basis->movie.seconds : 0;
}

void MovieImportViewModel::setProjectName(const QString &name)
{
    changeText(m_projectName, name);
}

void MovieImportViewModel::setTakeName(const QString &name)
{
    changeText(m_takeName, name);
}

void MovieImportViewModel::setDistance(const QString &metres)
{
    changeText(m_distance, metres);
}

void MovieImportViewModel::changeText(QString &text, const QString &to)
{
    m_failure.clear();
    text = to;
    refresh();
}

void MovieImportViewModel::addPaths(const QStringList &paths)
{
    m_failure.clear();
    for (const QString &path : paths) {
        if (Entry *known = entryOf(path)) {
            if (!known->movie.refusal.isEmpty() && !known->isBusy)
                startAnew(*known);
            continue;
        }
        m_hasTooMany = m_hasTooMany || m_entries.size() >= mostMovies;
        if (m_entries.size() >= mostMovies)
            break;
        m_entries.emplace_back().movie.path = path;
    }
    proposeNames();
    startJobs();
    Q_EMIT requested();
}

void MovieImportViewModel::addFiles(const QList<QUrl> &urls)
{
    QStringList paths;
    for (const QUrl &url : urls) {
        if (url.isLocalFile())
            paths += QDir::cleanPath(url.toLocalFile());
    }
    addPaths(paths);
    if (paths.size() == urls.size())
        return;
    m_failure = u"Only files of this computer can be imported. Save the others first."_s;
    refresh();
}

void MovieImportViewModel::begin(QWindow *window)
{
    if (isEmpty())
        chooseFiles(window);
    else
        Q_EMIT requested();
}

void MovieImportViewModel::chooseFiles(QWindow *window)
{
    openMoviePanel(window, m_folder, [self = QPointer(this)](const QStringList &paths) {
        if (!self)
            return;
        self->m_folder = folderOf(paths.first());
        self->addPaths(paths);
    });
}

void MovieImportViewModel::changeRow(int row, const Change &change)
{
    m_failure.clear();
    if (const MovieRow *shown = m_rows.at(row))
        apply(shown->key, change);
}

void MovieImportViewModel::rename(int row, const QString &cameraName)
{
    changeRow(row, [&](Entry &entry) { entry.cameraName = cameraName; });
}

void MovieImportViewModel::makeReference(int row)
{
    changeRow(row, [this](const Entry &entry) { m_chosenReference = entry.movie.path; });
}

void MovieImportViewModel::setLeftOut(int row, bool leftOut)
{
    changeRow(row, [&](Entry &entry) {
        entry.isLeftOut = leftOut;
        if (leftOut)
            stop(entry);
    });
}

void MovieImportViewModel::cancel()
{
    std::ranges::for_each(m_entries, stop);
    m_entries.clear();
    m_chosenReference.clear();
    m_failure.clear();
    m_projectName.clear();
    m_takeName.clear();
    m_distance.clear();
    m_hasTooMany = false;
    refresh();
}

QString MovieImportViewModel::alignedText(const Entry &entry, const MovieAlignment &alignment) const
{
    const SoundLine &line = alignment.line;
    double uncertain = 0;
    for (const TimingAnchor &anchor : alignment.anchors)
        uncertain = std::max(uncertain, anchor.uncertaintyMs);
    const double distance = distanceMs(metres().value_or(0));
    return u"%1; %2; known to within %3 ms%4."_s.arg(
               beginText(beginOf(line)), clockText(line.driftPPM),
               QString::number(uncertain + distance, 'f', 1),
               distance > 0 ? u" with the distance"_s : u", distance aside"_s)
           + throughText(entry);
}

QString MovieImportViewModel::throughText(const Entry &entry) const
{
    const MovieLie *lie = lieOf(entry);
    const Entry *between = lie ? entryOf(lie->through) : nullptr;
    return between ? u" Found through %1, not in the reference itself."_s.arg(between->cameraName)
                   : QString();
}

QString MovieImportViewModel::stateText(const Entry &entry) const
{
    QString problem = problemOf(entry);
    if (!problem.isEmpty())
        return problem;
    if (entry.isLeftOut)
        return u"Left out."_s;
    if (!entry.isLookedAt)
        return u"Reading…"_s;
    if (&entry == reference())
        return entry.features ? u"All others are laid on the time of this one."_s : u"Listening…"_s;
    const MovieAlignment *alignment = alignmentOf(entry);
    return alignment ? alignedText(entry, *alignment) : u"Listening…"_s;
}

MovieRow MovieImportViewModel::rowOf(const Entry &entry) const
{
    const QString problem = problemOf(entry);
    const bool isReference = &entry == reference();
    const MovieAlignment *alignment = alignmentOf(entry);
    MovieRow row{.key = entry.movie.path,
                 .cameraName = entry.cameraName,
                 .fileText = displayText(entry.movie.path, longestMessage),
                 .stateText = displayText(stateText(entry), longestMessage),
                 .stateIcon = !problem.isEmpty()                             ? u"warning"_s
                              : entry.isLeftOut                              ? u"dashed-circle"_s
                              : alignment || (isReference && entry.features) ? u"check"_s
                                                                             : u"search"_s,
                 .problem = !problem.isEmpty() && !entry.isLeftOut,
                 .reference = isReference,
                 .leftOut = entry.isLeftOut,
                 .referenceObstacle = {},
                 .picture = {}};
    if (isReference)
        row.referenceObstacle = u"It is the reference."_s;
    else if (!isUsable(entry))
        row.referenceObstacle = u"It cannot be used, or is left out."_s;
    if (alignment)
        row.picture = u"%1 places heard, each within %2 ms of one line."_s.arg(
            QString::number(alignment->line.points.size()),
            QString::number(alignment->line.largestResidualSeconds * 1000, 'f', 1));
    return row;
}

void MovieImportViewModel::refresh()
{
    std::vector<MovieRow> rows;
    std::ranges::transform(m_entries, std::back_inserter(rows),
                           [this](const Entry &entry) { return rowOf(entry); });
    m_rows.setRows(std::move(rows));
    Q_EMIT changed();
}

} // namespace vorn
