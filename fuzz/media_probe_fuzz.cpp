// SPDX-License-Identifier: Apache-2.0

#include "base/display_text.h"
#include "check.h"
#include "media/editor_notes.h"
#include "media/media_boxes.h"
#include "media/media_probe.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace {

using namespace vorn;

/// Probes the input, followed by zeros up to `size`, as of a sparse file.
void probe(std::span<const std::uint8_t> input, std::uint64_t size)
{
    std::uint64_t read = 0;
    const auto readAt = [&](std::uint64_t offset, std::span<std::byte> into) {
        check(offset < size, "no read begins beyond the file");
        const std::size_t count = std::size_t(std::min<std::uint64_t>(into.size(), size - offset));
        read += count;
        std::memset(into.data(), 0, count);
        if (offset < input.size())
            std::memcpy(into.data(), input.data() + offset,
                        std::min<std::size_t>(count, input.size() - offset));
        return count;
    };
    const MovieBytes bytes{.name = QStringLiteral("cam1.mov"), .size = size, .readAt = readAt};
    check(filmingDevice(bytes).size() <= 256, "a name is short");
    check(read <= std::uint64_t{64} * 1024 * 1024, "what is read for a name is bounded");
    read = 0;
    try {
        const ProbedMedia media = probeMedia(bytes);
        check(std::isnan(media.durationSeconds)
                  || (media.durationSeconds > 0 && std::isfinite(media.durationSeconds)),
              "a duration is a length or none");
        check(media.videoTracks.size() + media.audioTracks.size() <= 64, "tracks are bounded");
        for (const ProbedVideoTrack &track : media.videoTracks)
            check(
                track.nominalFrameRate >= 0 && std::isfinite(track.nominalFrameRate)
                    && std::isfinite(track.a * track.naturalWidth + track.c * track.naturalHeight),
                "rates and sizes are numbers");
        for (const QString &note : editorNotes(media))
            check(note.endsWith(QLatin1Char('.')), "a note is a sentence");
        for (const QString &text : {pictureText(media), soundText(media)})
            check(!text.isEmpty() && text == displayText(text), "codecs can be shown");
    } catch (const MediaProbeError &error) {
        check(std::strncmp(error.what(), "cam1.mov is not ", 16) == 0, "an error names the file");
    }
    std::uint64_t all = 0;
    std::swap(read, all);
    try {
        const MovieHeaders movie =
            readMovieHeaders({.name = QStringLiteral("cam1.mov"), .size = size, .readAt = readAt},
                             MovieDetail::timing);
        std::size_t pictures = 0;
        for (const MovieTrack &track : movie.tracks)
            pictures += track.pictureTimes.size();
        check(pictures <= maximumTimedPictures, "pictures are bounded");
    } catch (const MediaProbeError &error) {
        check(std::strncmp(error.what(), "cam1.mov is not ", 16) == 0, "an error names the file");
    }
    read = std::max(read, all);
    check(read <= std::uint64_t{64} * 1024 * 1024, "what is read is bounded");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::span input(data, size);
    probe(input, size);
    probe(input, 10'000'000'000);
    return 0;
}
