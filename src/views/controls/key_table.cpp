// SPDX-License-Identifier: Apache-2.0

#include "views/controls/key_table.h"

#include <algorithm>
#include <array>

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

using Row = KeyTable::Row;
using Place = KeyTable::Place;

// What the toolkit itself does with a key stands here too, and is bound nowhere.
constexpr std::array table{
    Row{KeyTable::Help, Place::everyWindow, u"F1", u"Help"},
    Row{KeyTable::Settings, Place::everyWindow, u"Ctrl+,", u"Settings"},
    Row{KeyTable::Director, Place::everyWindow, u"Ctrl+Shift+D", u"Director window"},
    Row{KeyTable::Library, Place::everyWindow, u"Ctrl+Shift+L", u"Library window"},
    Row{KeyTable::CloseWindow, Place::everyWindow, u"Ctrl+W", u"Close the window"},
    Row{KeyTable::Quit, Place::everyWindow, u"Ctrl+Q", u"Quit VORN Desktop"},
    Row{KeyTable::Escape, Place::everyWindow, u"Esc",
        u"Close a sheet, or a window beside Director, Library and Program"},
    Row{KeyTable::NextControl, Place::everyWindow, u"Tab",
        u"Next control; with Shift, the one before"},
    Row{KeyTable::Work, Place::everyWindow, u"Return", u"Work the control that has the keyboard"},
    Row{KeyTable::Cut, Place::director, u"Space", u"CUT, wherever the keyboard is"},
    Row{KeyTable::Place1, Place::director, u"1", u"Camera 1 of the wall in Preview"},
    Row{KeyTable::Place2, Place::director, u"2", u"Camera 2 of the wall in Preview"},
    Row{KeyTable::Place3, Place::director, u"3", u"Camera 3 of the wall in Preview"},
    Row{KeyTable::Place4, Place::director, u"4", u"Camera 4 of the wall in Preview"},
    Row{KeyTable::FoldInspector, Place::director, u"F9", u"Fold the inspector away and back"},
    Row{KeyTable::OpenProgram, Place::director, u"Ctrl+Shift+P", u"Program window"},
    Row{KeyTable::FullScreen, Place::program, u"F11",
        u"Full screen, on another display if there is one, and back"},
    Row{KeyTable::LeaveFullScreen, Place::program, u"Esc", u"Leave full screen"},
    Row{KeyTable::Connect, Place::library, u"Ctrl+K", u"Connect to a phone"},
    Row{KeyTable::NewProject, Place::library, u"Ctrl+N", u"New project"},
    Row{KeyTable::Rename, Place::library, u"F2", u"Rename the project"},
    Row{KeyTable::ImportManifest, Place::library, u"Ctrl+O", u"Import a manifest"},
    Row{KeyTable::ImportMovies, Place::library, u"Ctrl+Shift+O", u"Import movies"},
    Row{KeyTable::Download, Place::library, u"Ctrl+D", u"Download the take"},
    Row{KeyTable::Export, Place::library, u"Ctrl+E", u"Export for Resolve"},
    Row{KeyTable::Search, Place::library, u"Ctrl+F", u"Search projects"},
    Row{KeyTable::OverviewTab, Place::library, u"Ctrl+1", u"Overview"},
    Row{KeyTable::MediaTab, Place::library, u"Ctrl+2", u"Media"},
    Row{KeyTable::ResolveTab, Place::library, u"Ctrl+3", u"Resolve"},
    Row{KeyTable::ActivityTab, Place::library, u"Ctrl+4", u"Activity"},
    Row{KeyTable::PageUp, Place::lists, u"PgUp", u"A page up"},
    Row{KeyTable::PageDown, Place::lists, u"PgDown", u"A page down"},
    Row{KeyTable::ListHead, Place::lists, u"Home", u"To the head"},
    Row{KeyTable::ListEnd, Place::lists, u"End", u"To the end"},
};

} // namespace

std::span<const KeyTable::Row> KeyTable::rows()
{
    return table;
}

QString KeyTable::title(Place place)
{
    switch (place) {
    case Place::everyWindow:
        return u"Every window"_s;
    case Place::director:
        return u"Director window"_s;
    case Place::program:
        return u"Program window, beside CUT and 1 to 4"_s;
    case Place::library:
        return u"Library window"_s;
    case Place::lists:
        return u"Lists and long pages"_s;
    }
    Q_UNREACHABLE();
}

QString KeyTable::sequence(Key key)
{
    const auto row = std::ranges::find(table, key, &Row::key);
    return row == table.end() ? QString() : row->sequence.toString();
}

} // namespace vorn
