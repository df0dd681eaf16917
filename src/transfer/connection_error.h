// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "https/https_message.h"
#include "transfer/transfer_error.h"

namespace vorn {

/// What a user is told when a request to a camera got no answer.
[[nodiscard]] TransferConnectionError connectionError(const HttpsError &error);

} // namespace vorn
