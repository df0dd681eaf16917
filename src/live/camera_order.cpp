// SPDX-License-Identifier: Apache-2.0

#include "live/camera_order.h"

#include "base/text_order.h"

namespace vorn {

CameraOrder cameraOrder()
{
    return [isBefore = localizedLess()](const LiveCamera &a, const LiveCamera &b) {
        if (isBefore(a.name, b.name))
            return true;
        return !isBefore(b.name, a.name) && a.id < b.id;
    };
}

} // namespace vorn
