// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "director/live_edit_timeline.h"
#include "live/camera_order.h"
#include "live/live_camera.h"
#include "preview/preview_network_policy.h"

#include <QString>

#include <optional>
#include <set>
#include <span>
#include <vector>

namespace vorn {

// What the Director's desk makes of the list of cameras. Cameras are handed on as pointers into the
// list that was given.

/// One strip of the audio page.
struct AudioChannelState {
    QString id;   ///< the camera's
    QString name; ///< the camera's, at the moment the channel was made
    double gain = 0.72;
    double pan = 0;
    bool muted = false;
    bool solo = false;

    bool operator==(const AudioChannelState &) const = default;
};

/// The first camera of that id; null when it is absent or unknown.
[[nodiscard]] const LiveCamera *findCamera(std::span<const LiveCamera> cameras,
                                           const std::optional<QString> &id);

/// All but directors: online ones before offline ones, each in the order of `isBefore`
/// (cameraOrder).
[[nodiscard]] std::vector<const LiveCamera *>
cameraWallCameras(std::span<const LiveCamera> cameras, WallTime now, const CameraOrder &isBefore);

/// The first of the list that is online and no director.
[[nodiscard]] const LiveCamera *firstOnlineCamera(std::span<const LiveCamera> cameras,
                                                  WallTime now);

/// One channel for each camera but directors, in their order. Channels in `existing` stay as they
/// are; those of cameras that have left are dropped.
[[nodiscard]] std::vector<AudioChannelState>
audioChannels(std::span<const AudioChannelState> existing, std::span<const LiveCamera> cameras);

/// A running session, a Preview camera that is online, and another one, or none, on Program.
[[nodiscard]] bool canTake(const LiveEditTimeline &timeline, std::span<const LiveCamera> cameras,
                           WallTime now);

/// What `policy` comes to with the cameras in Preview and on Program that are online.
[[nodiscard]] VORNPreviewNetworkPolicy effectivePreviewPolicy(VORNPreviewNetworkPolicy policy,
                                                              const LiveEditTimeline &timeline,
                                                              std::span<const LiveCamera> cameras,
                                                              WallTime now);

/// The cameras of which large frames are wanted: Preview, or Program while Preview is empty. Both
/// where the network is good for it.
[[nodiscard]] std::set<QString> selectedProfileCameraIDs(const LiveEditTimeline &timeline,
                                                         VORNPreviewNetworkPolicy effectivePolicy);

} // namespace vorn
