// SPDX-License-Identifier: Apache-2.0

#include "views/connect/code_entry.h"

#include "https/secret_bytes.h"

#include <QVariant>

namespace vorn {

CodeEntry::~CodeEntry()
{
    wipeShared(m_drawn);
}

void CodeEntry::componentComplete()
{
    // By name: the field's type is Qt Quick's own.
    connect(m_field, SIGNAL(textChanged()), this, SLOT(take()));
    connect(m_field, SIGNAL(displayTextChanged()), this, SLOT(keepDrawn()));
    connect(m_connection, &SecureConnectViewModel::pairingCodeChanged, this, &CodeEntry::show);
    show();
}

QString CodeEntry::textOf(const char *property) const
{
    return m_field->property(property).toString();
}

void CodeEntry::take()
{
    m_connection->setPairingCode(textOf("text"));
}

void CodeEntry::keepDrawn()
{
    wipeShared(m_drawn);
    m_drawn = textOf("displayText");
}

void CodeEntry::show()
{
    QString shown = textOf("text");
    if (shown == m_connection->pairingCode())
        return;
    wipeShared(shown);
    m_field->setProperty("text", m_connection->pairingCode());
}

} // namespace vorn
