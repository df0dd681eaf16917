// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "https/secret_bytes.h"

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

namespace vorn {

/// Takes the text that `key` of the root object has out of a JSON document (RFC 8259), and leaves
/// an empty text in its place: a JSON reader keeps copies of what it reads. Gives the text as UTF-8
/// without its escapes; absent when there is no such key, or it has no text. Of a repeated key the
/// last counts. Whether the document is sound is the reader's to tell.
[[nodiscard]] std::optional<SecretBytes> cutJsonSecret(QByteArray &document, QByteArrayView key);

} // namespace vorn
