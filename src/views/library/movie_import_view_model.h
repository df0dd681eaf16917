// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/export_check.h"
#include "movies/movie_pairs.h"
#include "movies/movie_take.h"
#include "views/controls/row_list_model.h"

#include <QCoroTask>
#include <QDateTime>
#include <QObject>
#include <QUrl>
#include <QWindow>
#include <QtQml/qqmlregistration.h>

#include <map>
#include <stop_token>

namespace vorn {

class AppStore;

/// One movie as the window shows it.
struct MovieRow {
    QString key; ///< the path
    QString cameraName;
    QString fileText;
    QString stateText;
    QString stateIcon;
    bool problem = false; ///< it has to be left out before a take can be made
    bool reference = false;
    bool leftOut = false;
    QString referenceObstacle; ///< why it cannot be made the reference
    QString picture;           ///< what was heard, in words; empty where there is nothing to draw

    bool operator==(const MovieRow &) const = default;
};

/// Movies on their way to a take: reads and listens to them, two at a time and on other threads,
/// and proposes what the user may change. Context: UI thread.
class MovieImportViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the library view model.")
    Q_PROPERTY(QAbstractItemModel *movies READ movies CONSTANT)
    Q_PROPERTY(bool empty READ isEmpty NOTIFY changed)
    Q_PROPERTY(bool running READ isRunning NOTIFY changed)
    Q_PROPERTY(double fraction READ fraction NOTIFY changed)
    Q_PROPERTY(QString summary READ summary NOTIFY changed)
    Q_PROPERTY(QString summaryIcon READ summaryIcon NOTIFY changed)
    Q_PROPERTY(QString distanceText READ distanceText NOTIFY changed)
    Q_PROPERTY(QString projectName MEMBER m_projectName WRITE setProjectName NOTIFY changed)
    Q_PROPERTY(QString takeName MEMBER m_takeName WRITE setTakeName NOTIFY changed)
    Q_PROPERTY(QString distance MEMBER m_distance WRITE setDistance NOTIFY changed)
    Q_PROPERTY(bool available READ isAvailable NOTIFY changed)
    Q_PROPERTY(QString obstacle READ obstacle NOTIFY changed)
public:
    explicit MovieImportViewModel(AppStore &store);
    ~MovieImportViewModel() override;

    [[nodiscard]] QAbstractItemModel *movies() { return &m_rows; }
    [[nodiscard]] bool isEmpty() const { return m_entries.empty(); }
    [[nodiscard]] bool isRunning() const;
    /// Movies are listened to, or have been, and are no take yet.
    [[nodiscard]] bool wouldBeLost() const;
    [[nodiscard]] double fraction() const; ///< 0 to 1, of all that is to be done
    [[nodiscard]] QString summary() const;
    [[nodiscard]] QString summaryIcon() const;
    /// What the distance means for the take; empty without one.
    [[nodiscard]] QString distanceText() const;
    [[nodiscard]] bool isAvailable() const { return obstacle().isEmpty(); }
    /// Why no take can be created yet; empty when one can.
    [[nodiscard]] QString obstacle() const;
    /// What was heard of the movie in a row against its line, and where that lies in the reference.
    [[nodiscard]] ClipCheck timingAt(int row) const;
    [[nodiscard]] double referenceSeconds() const;

    void setProjectName(const QString &name);
    void setTakeName(const QString &name);
    void setDistance(const QString &metres);

    /// Takes in files that are not there yet, by absolute paths, and looks anew at those that could
    /// not be used.
    void addPaths(const QStringList &paths);
    Q_INVOKABLE void addFiles(const QList<QUrl> &urls);
    /// Goes on with movies that are there; otherwise asks for some.
    Q_INVOKABLE void begin(QWindow *window);
    Q_INVOKABLE void chooseFiles(QWindow *window);
    Q_INVOKABLE void rename(int row, const QString &cameraName);
    Q_INVOKABLE void makeReference(int row);
    Q_INVOKABLE void setLeftOut(int row, bool leftOut);
    Q_INVOKABLE void create();
    /// Ends what runs and forgets the movies.
    Q_INVOKABLE void cancel();

Q_SIGNALS:
    void changed();
    /// The window is to be seen.
    void requested();
    void created();

private:
    /// By which a file is known to be what it was.
    struct FileStamp {
        std::int64_t bytes = 0;
        QDateTime modified;

        bool operator==(const FileStamp &) const = default;
    };
    /// A movie, what is known of it, and what is being done with it.
    struct Entry {
        Movie movie;
        FileStamp stamp; ///< of before it was looked at
        QString cameraName;
        bool isLookedAt = false;
        std::shared_ptr<const SoundFeatures> features;
        std::map<QString, AlignmentOrWhyNot> alignments; ///< by where it was sought
        bool isLeftOut = false;
        bool isBusy = false;
        double doneShare = 0;  ///< of what is being done
        std::stop_source stop; ///< of that
    };
    using Change = std::function<void(Entry &)>;
    using OnShare = std::function<void(double)>;
    /// Work on a movie for another thread, and what comes of it.
    struct Job {
        QString path;
        std::function<Change(const std::stop_token &, const OnShare &)> work;
    };

    [[nodiscard]] const Entry *entryOf(const QString &path) const;
    [[nodiscard]] Entry *entryOf(const QString &path);
    [[nodiscard]] QString problemOf(const Entry &entry) const;
    [[nodiscard]] bool isUsable(const Entry &entry) const;
    [[nodiscard]] const Entry *reference() const;
    /// Where an entry lies, or why not, once all has been tried; null until then.
    [[nodiscard]] const MovieLie *lieOf(const Entry &entry) const;
    [[nodiscard]] const MovieAlignment *alignmentOf(const Entry &entry) const;
    [[nodiscard]] double alignedShare(const Entry &entry) const;
    /// The first of those that are taken with the same bytes; null where that is the entry itself.
    [[nodiscard]] const Entry *repeatedBy(const Entry &entry) const;
    [[nodiscard]] std::optional<double> metres() const;
    [[nodiscard]] QString stateText(const Entry &entry) const;
    [[nodiscard]] QString alignedText(const Entry &entry, const MovieAlignment &alignment) const;
    [[nodiscard]] QString throughText(const Entry &entry) const;
    [[nodiscard]] MovieRow rowOf(const Entry &entry) const;
    [[nodiscard]] QString movieObstacle() const;
    [[nodiscard]] QString nameObstacle() const;
    [[nodiscard]] QStringList cameraNames(const Entry *except) const;
    [[nodiscard]] MovieTakePlace place() const;

    [[nodiscard]] static FileStamp stampOf(const QString &path);
    [[nodiscard]] static Job lookJob(const Entry &entry);
    [[nodiscard]] static Job hearJob(const Entry &entry);
    [[nodiscard]] static Job alignJob(const Entry &there, const Entry &entry);
    [[nodiscard]] std::optional<Job> nextJob() const;
    void startJobs();
    /// What follows from all that was heard.
    void reckon();
    QCoro::Task<> run(Job job, std::stop_token stop);
    /// Of these movies, provided that they are what was listened to.
    QCoro::Task<> createTake(SourceManifest manifest, std::map<QString, FileStamp> movies);
    /// Which of these are no longer what they were. Any thread; blocks.
    [[nodiscard]] static QStringList changedOf(const std::map<QString, FileStamp> &movies);
    /// These have become a take.
    void endWith(const std::map<QString, FileStamp> &taken);
    void apply(const QString &path, const Change &change);
    /// What the user changes.
    void changeRow(int row, const Change &change);
    void changeText(QString &text, const QString &to);
    static void stop(Entry &entry);
    /// Forgets all but its name.
    void startAnew(Entry &entry);
    void proposeNames();
    void refresh();

    AppStore &m_store;
    std::vector<Entry> m_entries;
    std::map<QString, MovieLie> m_lies; ///< by path
    std::vector<MoviePair> m_toHear;
    QString m_chosenReference; ///< path; empty while the longest is
    QString m_projectName, m_takeName, m_distance;
    QString m_folder;  ///< that the panel shows first
    int m_running = 0; ///< jobs, those that are to stop among them
    bool m_isCreating = false;
    QString m_failure; ///< of what the user last did; until the next time
    bool m_hasTooMany = false;
    RowListModel<MovieRow> m_rows;
};

} // namespace vorn
