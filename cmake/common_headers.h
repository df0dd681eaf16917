// SPDX-License-Identifier: Apache-2.0

// What most files include anyway, compiled once (a precompiled header). A file still names all that
// it uses.
#include <QByteArray>
#include <QCoroTask>
#include <QDateTime>
#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QUrl>
#include <QUuid>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <thread>
#include <utility>
#include <vector>
