// SPDX-License-Identifier: Apache-2.0

// The same for tests: what Qt Test brings is most of such a file.
#include "common_headers.h"

#include <QDir>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>
