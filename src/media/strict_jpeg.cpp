// SPDX-License-Identifier: Apache-2.0

#include "media/strict_jpeg.h"

#include "media/jpeg_header.h"

// In this order: the library's header asks for what stands before it.
// clang-format off
#include <cstdio>
#define JPEG_INTERNALS // for the units, which it decodes one by one
#include <jpeglib.h>
// clang-format on

#include <csetjmp>
#include <cstdint>
#include <new>
#include <vector>

namespace vorn {

struct StrictJPEG::Library {
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    std::jmp_buf refusal{}; ///< where the library's calls go on when they must stop
    JPEGHeader header;
    std::vector<JSAMPROW> rows;
    decltype(jpeg_entropy_decoder::decode_mcu) decodeUnit = nullptr; ///< the library's own
    std::int64_t units = 0; ///< of the scan that have been decoded, with the present one

    static Library &of(j_common_ptr info) { return *static_cast<Library *>(info->client_data); }

    /// Zero bytes were skipped before the end mark. The library reads eight bytes ahead, which it
    /// does not count, and one may have been data; more would be the filling of a picture that did
    /// not come.
    [[nodiscard]] bool isPadding() const
    {
        constexpr int mostUncounted = 9;
        const int skipped = errors.msg_parm.i[0];
        const int marker = errors.msg_parm.i[1];
        return marker == JPEG_EOI && skipped <= header.zerosBeforeEnd
               && header.zerosBeforeEnd - skipped <= mostUncounted;
    }

    /// The data ends within its last unit, or in the one before: with the tables that are usual, a
    /// byte can hold the last one and the end of another. Those of several scans are not counted.
    [[nodiscard]] bool isNearTheEnd() const
    {
        constexpr std::int64_t mostMissing = 1; // without the one that is unfinished
        const std::int64_t all = std::int64_t{info.MCUs_per_row} * info.MCU_rows_in_scan;
        return !info.inputctl->has_multiple_scans && info.unread_marker == JPEG_EOI
               && header.zerosBeforeEnd <= 1 && all - units <= mostMissing;
    }

    /// Has the picture drawn at that size.
    void fit(QSize size)
    {
        for (const unsigned part : {1U, 2U, 4U, 8U}) {
            info.scale_num = 1;
            info.scale_denom = part;
            jpeg_calc_output_dimensions(&info);
            if (QSize(int(info.output_width), int(info.output_height)) == size)
                return;
        }
        std::longjmp(refusal, 1);
    }

    void countUnits()
    {
        units = 0;
        decodeUnit = info.entropy->decode_mcu;
        info.entropy->decode_mcu = [](j_decompress_ptr info, JBLOCKROW *blocks) {
            auto &library = of(reinterpret_cast<j_common_ptr>(info));
            ++library.units;
            return library.decodeUnit(info, blocks);
        };
    }
};

StrictJPEG::StrictJPEG() : m_library(std::make_unique<Library>())
{
    jpeg_error_mgr &errors = m_library->errors;
    m_library->info.err = jpeg_std_error(&errors);
    errors.error_exit = [](j_common_ptr info) { std::longjmp(Library::of(info).refusal, 1); };
    errors.emit_message = [](j_common_ptr info, int level) {
        const bool isWarning = level < 0;
        if (!isWarning)
            return;
        Library &library = Library::of(info);
        const int code = info->err->msg_code;
        if ((code != JWRN_EXTRANEOUS_DATA || !library.isPadding())
            && (code != JWRN_HIT_MARKER || !library.isNearTheEnd()))
            std::longjmp(library.refusal, 1);
    };
    m_library->info.client_data = m_library.get();
    if (setjmp(m_library->refusal) != 0)
        throw std::bad_alloc();
    jpeg_create_decompress(&m_library->info);
}

StrictJPEG::~StrictJPEG()
{
    jpeg_destroy_decompress(&m_library->info);
}

bool StrictJPEG::decode(std::span<const std::byte> jpeg, const JPEGHeader &header, QImage &image)
{
    Library &library = *m_library;
    jpeg_decompress_struct &info = library.info;
    library.header = header;
    library.rows.resize(std::size_t(image.height()));
    uchar *const pixels = image.bits();
    for (std::size_t line = 0; line < library.rows.size(); ++line)
        library.rows[line] = pixels + qsizetype(line) * image.bytesPerLine();

    // Nothing that has a destructor may begin below.
    if (setjmp(library.refusal) != 0) {
        jpeg_abort_decompress(&info);
        return false;
    }
    jpeg_mem_src(&info, reinterpret_cast<const unsigned char *>(jpeg.data()), jpeg.size());
    jpeg_read_header(&info, TRUE);
    library.fit(image.size());
    constexpr int bytesOfPixel = 4;
    info.mem->max_memory_to_use =
        long(JPEGHeader::maximumBytes - std::int64_t{bytesOfPixel} * header.width * header.height);
    info.out_color_space = JCS_EXT_BGRA; // as Format_RGB32 lies in memory
    jpeg_start_decompress(&info);
    library.countUnits();
    while (info.output_scanline < info.output_height)
        jpeg_read_scanlines(&info, library.rows.data() + info.output_scanline,
                            info.output_height - info.output_scanline);
    jpeg_finish_decompress(&info);
    return true;
}

} // namespace vorn
