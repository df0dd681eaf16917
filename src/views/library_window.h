#pragma once

#include <QObject>

class QQmlApplicationEngine;

namespace vorn {

class LibraryViewModel;

/// Gives the application the look of its windows: type, and for the file panels a dark palette.
/// Needs a QApplication, before the first window.
void applyLook();

/// Opens the Library window, with the Settings window behind it. `library` must outlive the engine.
void openLibraryWindow(QQmlApplicationEngine &engine, LibraryViewModel &library);

/// Brings the program's open windows to the front.
void raiseWindows();

} // namespace vorn
