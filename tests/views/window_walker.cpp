// SPDX-License-Identifier: Apache-2.0

#include "window_walker.h"

#include "walked_item.h"

#include <QDir>
#include <QPointer>
#include <QtTest>

#include <map>

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype mostStops = 200;
constexpr int fewestRingPixels = 40;

/// A row that went out of sight and came back is another item, but the same control.
struct Control {
    explicit Control(QQuickItem *of) : item(of), heard(spoken(of))
    {
        QQuickItem *around = holderOf(of); // a row, a panel
        while (around && nameOf(around).isEmpty())
            around = holderOf(around);
        heard = spoken(around) + u" | "_s + heard;
    }
    bool operator==(const Control &other) const
    {
        return item && other.item ? item == other.item : heard == other.heard;
    }

    QPointer<QQuickItem> item;
    QString heard; ///< what it is in, role, name
};
using Controls = QList<Control>;

class Walker {
public:
    Walker(WindowHands &hands, const QString &state) : m_hands(hands), m_state(state) {}

    QStringList walk()
    {
        awaitRest();
        leavePicture();
        QQuickItem *sheet = sheetOf(m_hands.window());
        m_root = sheet ? sheet : m_hands.window()->contentItem();
        awaitSight(m_hands.window()->activeFocusItem());
        checkKnown();
        collect(m_root);
        for (const Control &control : m_controls)
            checkControl(control);
        checkOrder(m_root);
        checkTexts();
        const Controls read = m_controls;
        m_stops = round(Qt::Key_Tab);
        checkWay(read);
        for (const auto &[list, row] : m_lastRows)
            expect(row == list->property("count").toInt() - 1, spoken(list->parentItem()),
                   u"Tab leaves it after row %1"_s.arg(row + 1));
        print();
        if (m_hands.window()->effectiveDevicePixelRatio() > 1)
            return m_faults; // what follows is the same on each screen
        checkWayBack();
        for (const Control &stop : m_stops)
            walkWithin(stop.item);
        return m_faults;
    }

private:
    void expect(bool holds, const QString &of, const QString &fault)
    {
        if (!holds)
            m_faults += QStringList{m_state, of, fault}.join(u" | "_s);
    }

    /// Until nothing moves any more and nothing comes.
    void awaitRest()
    {
        QList<std::pair<QQuickItem *, QRectF>> before;
        const auto isAtRest = [&] {
            QList<std::pair<QQuickItem *, QRectF>> now;
            m_hands.window()->grabWindow(); // lays out
            for (QQuickItem *item : visibleItems(m_hands.window()->contentItem()))
                if (item->activeFocusOnTab())
                    now.emplaceBack(item, placeOf(item));
            return std::exchange(before, now) == now;
        };
        expect(QTest::qWaitFor(isAtRest, limitMs), u"Window"_s, u"does not come to rest"_s);
    }

    [[nodiscard]] static QString outFile(const QString &name)
    {
        const QString folder = qEnvironmentVariable("VORN_WALK_OUT", u"walk"_s);
        return QDir().mkpath(folder) ? folder + u'/' + name : QString();
    }

    void leavePicture(const QString &what = {})
    {
        const QImage picture = m_hands.window()->grabWindow();
        const QString scale =
            u"@%1x.png"_s.arg(qRound(qreal(picture.width()) / m_hands.window()->width()));
        const QString name = (m_state + what).toLower().remove(u',').replace(u' ', u'-') + scale;
        expect(picture.save(outFile(name), nullptr, 80), name, u"cannot be written"_s);
    }

    /// What can be pressed or has the keyboard is something to assistive tools, and of use to them.
    void checkKnown()
    {
        for (QQuickItem *item : visibleItems(m_root)) {
            // Rows and tabs are worked by a pointer area that lies over them.
            const bool isArea = item->inherits("QQuickMouseArea");
            QQuickItem *control = isArea ? item->parentItem() : item;
            const bool isPressed = isArea || item->inherits("QQuickAbstractButton");
            if (!isPressed && !item->activeFocusOnTab())
                continue;
            const QString type = QString::fromLatin1(control->metaObject()->className());
            const bool isKnown =
                roleOf(control) != QAccessible::NoRole && roleOf(control) != QAccessible::Client;
            expect(isKnown && !nameOf(control).isEmpty(), type + u' ' + nameOf(control),
                   u"is unknown to assistive tools"_s);
            auto *action = isKnown ? nodeOf(control)->actionInterface() : nullptr;
            const QString press = QAccessibleActionInterface::pressAction();
            expect(!isPressed || (action && action->actionNames().contains(press)), spoken(control),
                   u"cannot be pressed"_s);
        }
    }

    void collect(QQuickItem *item)
    {
        for (QQuickItem *child : childrenOf(item)) {
            if (isControl(child))
                m_controls += Control(child);
            collect(child);
        }
    }

    void checkControl(const Control &control)
    {
        const QString told = descriptionOf(control.item);
        expect(!nameOf(control.item).isEmpty(), control.heard, u"has no name"_s);
        // A reason is a sentence, not a word such as "Disabled".
        expect(control.item->isEnabled() || told.contains(u' '), control.heard,
               u"does not say why it is disabled: "_s + told);
        // Who cannot see it knows by the full stop; the journeys do.
        expect(!control.item->isEnabled() || !told.endsWith(u'.'), control.heard,
               u"sounds disabled: "_s + told);
        const auto isAlike = [&](const Control &other) {
            return other.item && other.heard == control.heard && descriptionOf(other.item) == told;
        };
        expect(std::ranges::count_if(m_controls, isAlike) == 1, control.heard,
               u"cannot be told from another one"_s);
    }

    /// Children are read in their order, which must be the one on the screen.
    void checkOrder(QQuickItem *item)
    {
        QList<std::pair<Items, QRectF>> earlier;
        for (QQuickItem *child : item->childItems()) {
            const auto heard = heardUnder(child);
            const QRectF &place = heard.second;
            if (place.isEmpty())
                continue;
            for (const auto &[others, there] : earlier) {
                const bool isAbove = place.bottom() <= there.top();
                const bool isLeft = place.right() <= there.left() && place.top() < there.bottom();
                expect(!isAbove && !isLeft, spoken(heard.first.first()),
                       u"is read after what is right of it or below it: "_s
                           + spoken(others.first()));
            }
            earlier += heard;
            checkOrder(child);
        }
    }

    /// No text is drawn over another one, but for those of a tip.
    void checkTexts()
    {
        Items texts;
        for (QQuickItem *child : m_root->childItems())
            if (child->isVisible() && !child->inherits("QQuickOverlay"))
                texts += visibleItems(child);
        texts.removeIf([](QQuickItem *item) {
            return !item->inherits("QQuickText") || item->property("text").toString().isEmpty()
                   || !isInSight(item);
        });
        for (qsizetype i = 0; i < texts.size(); ++i)
            for (qsizetype j = 0; j < i; ++j)
                expect(!(placeOf(texts[i]) & placeOf(texts[j])).adjusted(1, 1, -1, -1).isValid(),
                       texts[i]->property("text").toString(),
                       u"is drawn over: "_s + texts[j]->property("text").toString());
    }

    /// Once around.
    [[nodiscard]] Controls round(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        Controls stops;
        while (stops.size() < mostStops) {
            m_hands.press(key, modifiers);
            QQuickItem *item = m_hands.window()->activeFocusItem();
            const bool isLost =
                !item || item == m_hands.window()->contentItem()
                || item == m_hands.window()->property("contentItem").value<QQuickItem *>();
            expect(!isLost || m_controls.isEmpty(), u"Tab"_s, u"loses the keyboard"_s);
            if (isLost)
                return stops;
            checkRing(stops.isEmpty() ? nullptr : &stops.last());
            const Control stop(item);
            if (stops.contains(stop)) {
                expect(stop == stops.first(), stop.heard, u"holds the keyboard"_s);
                return stops;
            }
            checkStop(stop);
            stops += stop;
        }
        expect(false, u"Tab"_s, u"comes to no end"_s);
        return stops;
    }

    /// Tab goes on in the order in which all is read, from wherever it begins.
    void checkWay(const Controls &read)
    {
        QList<qsizetype> way;
        for (const Control &stop : m_stops)
            if (read.contains(stop)) // or it has come into sight since
                way += read.indexOf(stop);
        std::ranges::rotate(way, std::ranges::min_element(way));
        const auto back = std::ranges::is_sorted_until(way);
        expect(back == way.end(), back == way.end() ? QString() : read[*back].heard,
               u"Tab comes too late to it"_s);
    }

    void checkWayBack()
    {
        Controls back = round(Qt::Key_Backtab, Qt::ShiftModifier);
        std::ranges::reverse(back);
        QStringList way;
        std::ranges::transform(back, std::back_inserter(way), &Control::heard);
        expect(back == m_stops, u"Shift+Tab"_s, u"goes another way: "_s + way.join(u", "_s));
    }

    void awaitSight(QQuickItem *item)
    {
        const Control stop(item); // a page follows with the next frame
        expect(QTest::qWaitFor([&] { return stop.item && isInSight(stop.item); }, limitMs),
               stop.heard, u"has the keyboard out of sight"_s);
    }

    void checkStop(const Control &stop)
    {
        if (!m_controls.contains(stop)) { // a row that has come into sight
            m_controls += stop;
            checkControl(stop);
        }
        expect(m_root->isAncestorOf(stop.item), stop.heard, u"has the keyboard behind a sheet"_s);
        expect(nodeOf(stop.item) && stop.item->isVisible() && stop.item->isEnabled(), stop.heard,
               u"has the keyboard, but cannot be used"_s);
        awaitSight(stop.item);
        // A list makes only the rows in sight. Tab must come to the others as well.
        for (QQuickItem *item = stop.item; item->parentItem(); item = item->parentItem()) {
            QQuickItem *list = item->parentItem()->parentItem();
            if (list && list->inherits("QQuickListView") && item->property("index").isValid())
                m_lastRows[list] = std::max(m_lastRows[list], item->property("index").toInt());
        }
    }

    /// The ring is where the keyboard is, and no longer where it was.
    void checkRing(const Control *before)
    {
        const QImage picture = m_hands.window()->grabWindow();
        const QQuickItem *now = m_hands.window()->activeFocusItem();
        if (before && before->item) {
            const int left = before->item == now ? 0 : ringPixels(picture, before->item);
            expect(m_ring - left >= fewestRingPixels, before->heard,
                   u"does not show that it has the keyboard"_s);
        }
        m_ring = ringPixels(picture, now);
    }

    /// Role, name, whether it can be used, place in the order of Tab.
    void print()
    {
        QFile file(outFile(u"controls.txt"_s));
        expect(file.open(QFile::Append), file.fileName(), u"cannot be written"_s);
        for (const Control &control : m_controls) {
            QQuickItem *item = control.item;
            const bool isWithin = item && isChoice(item);
            const bool isEnabled = !item || item->isEnabled();
            const auto place = m_stops.indexOf(isWithin ? Control(holderOf(item)) : control) + 1;
            expect(place > 0 || !isEnabled, control.heard, u"is not reached by Tab"_s);
            const QStringList line{m_state, control.heard.simplified(),
                                   isEnabled ? u"enabled"_s : u"disabled: "_s + descriptionOf(item),
                                   (isWithin ? u"by arrows in %1"_s : u"%1"_s).arg(place)};
            const QByteArray text = line.join(u" | "_s).toUtf8() + '\n';
            file.write(text);
            fputs(text.constData(), stdout);
        }
    }

    void walkWithin(QQuickItem *control)
    {
        if (roleOf(control) == QAccessible::ComboBox) {
            walkPicker(control);
            return;
        }
        Items choices;
        std::ranges::copy_if(childrenOf(control), std::back_inserter(choices), isChoice);
        if (choices.isEmpty())
            return;
        control->forceActiveFocus(Qt::TabFocusReason);
        if (roleOf(control) == QAccessible::List)
            walkChoices(choices, Qt::Key_Up, Qt::Key_Down);
        else
            walkChoices(choices, Qt::Key_Left, Qt::Key_Right);
    }

    /// Goes to the first and through all; each must say in its turn that it is the one. Then back
    /// to the one that it was.
    void walkChoices(const Items &choices, Qt::Key back, Qt::Key forth)
    {
        const auto isChosen = [](QQuickItem *item) { return stateOf(item).selected; };
        const auto chosen = std::ranges::find_if(choices, isChosen) - choices.begin();
        for (qsizetype i = 1; i < choices.size(); ++i)
            m_hands.press(back);
        for (qsizetype i = 0; i < choices.size(); ++i) {
            const auto isIt = [&] {
                return isChosen(choices[i]) && std::ranges::count_if(choices, isChosen) == 1;
            };
            expect(QTest::qWaitFor(isIt), spoken(choices[i]), u"is not reached by the arrows"_s);
            if (i + 1 < choices.size())
                m_hands.press(forth);
        }
        for (auto i = choices.size() - 1; chosen < choices.size() && i > chosen; --i)
            m_hands.press(back);
    }

    void walkPicker(QQuickItem *picker)
    {
        const QString before = spoken(picker);
        auto *popup = picker->property("popup").value<QObject *>();
        const auto has = [&](const char *state) { return popup->property(state).toBool(); };
        picker->forceActiveFocus(Qt::TabFocusReason);
        m_hands.press(Qt::Key_Return);
        if (!QTest::qWaitFor([&] { return has("opened"); })) {
            expect(false, before, u"does not open by Return"_s);
            return;
        }
        awaitRest();
        static QStringList seen; // it looks the same in each state
        if (const QString name = nameOf(picker).section(u',', 0, 0); !seen.contains(name)) {
            seen += name;
            leavePicture(u' ' + name);
        }
        auto *list = popup->property("contentItem").value<QQuickItem *>();
        checkOrder(list);
        Items entries;
        std::ranges::copy_if(visibleItems(list), std::back_inserter(entries), isChoice);
        expect(entries.size() == picker->property("count").toInt(), before, u"hides entries"_s);
        walkChoices(entries, Qt::Key_Up, Qt::Key_Down);
        m_hands.press(Qt::Key_Escape);
        expect(QTest::qWaitFor([&] { return !has("visible"); }) && picker->hasActiveFocus()
                   && spoken(picker) == before,
               before, u"is not as it was after Escape"_s);
    }

    WindowHands &m_hands;
    QString m_state;
    QQuickItem *m_root = nullptr;           ///< the sheet, or all of the window
    Controls m_controls;                    ///< in the order in which they are read
    Controls m_stops;                       ///< where Tab goes, in its order
    std::map<QQuickItem *, int> m_lastRows; ///< where Tab goes, by list view
    int m_ring = 0;                         ///< pixels of the focus ring at the last stop
    QStringList m_faults;
};

} // namespace

QStringList walkState(WindowHands &hands, const QString &name)
{
    return Walker(hands, name).walk();
}

QQuickItem *sheetOf(QQuickWindow *window)
{
    for (QQuickItem *item = window->activeFocusItem(); item; item = item->parentItem())
        if (item->inherits("QQuickPopupItem"))
            return item;
    return nullptr;
}

} // namespace vorn
