#include "imaging/jpeg_transcoder.h"

#include "imaging/dct.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <jpeglib.h>
#include <new>

namespace tess {

namespace {

// libjpeg reports a fatal error by calling error_exit, which must not return: it jumps back
// into Transcode. A warning (corrupt data that libjpeg would paper over) is noted and makes
// the frame one this cannot take, as the decoders of the rest of the program refuse it too.
struct ErrorHandler {
    jpeg_error_mgr manager; // first: libjpeg hands back a pointer to it
    std::jmp_buf jump;
    bool warned = false;
};

[[noreturn]] void Fail(j_common_ptr info) {
    std::longjmp(reinterpret_cast<ErrorHandler*>(info->err)->jump, 1);
}
void Note(j_common_ptr info, int level) {
    if (level < 0) reinterpret_cast<ErrorHandler*>(info->err)->warned = true;
}
void Silent(j_common_ptr) {}

// The output is written into a buffer kept from one picture to the next, grown when full;
// `used` is how much of it the picture took.
struct BufferDestination {
    jpeg_destination_mgr manager; // first, as above
    std::vector<std::uint8_t> buffer;
    std::size_t used = 0;
};

BufferDestination& DestinationOf(j_compress_ptr info) {
    return *reinterpret_cast<BufferDestination*>(info->dest);
}

void StartOutput(j_compress_ptr info) {
    BufferDestination& d = DestinationOf(info);
    if (d.buffer.size() < (1 << 16)) d.buffer.resize(1 << 16);
    d.manager.next_output_byte = d.buffer.data();
    d.manager.free_in_buffer = d.buffer.size();
}

// Called when the buffer is full. Returning false (no room could be had) makes libjpeg fail.
boolean GrowOutput(j_compress_ptr info) {
    BufferDestination& d = DestinationOf(info);
    const std::size_t full = d.buffer.size();
    try {
        d.buffer.resize(2 * full);
    } catch (const std::bad_alloc&) {
        return FALSE;
    }
    d.manager.next_output_byte = d.buffer.data() + full;
    d.manager.free_in_buffer = d.buffer.size() - full;
    return TRUE;
}

void EndOutput(j_compress_ptr info) {
    BufferDestination& d = DestinationOf(info);
    d.used = d.buffer.size() - d.manager.free_in_buffer;
}

bool Is420(const jpeg_decompress_struct& in) {
    const jpeg_component_info* c = in.comp_info;
    return in.num_components == 3 && in.jpeg_color_space == JCS_YCbCr && in.data_precision == 8 &&
           c[0].h_samp_factor == 2 && c[0].v_samp_factor == 2 && c[1].h_samp_factor == 1 &&
           c[1].v_samp_factor == 1 && c[2].h_samp_factor == 1 && c[2].v_samp_factor == 1;
}

JDIMENSION PaddedBlocks(JDIMENSION blocks, int factor) {
    return (blocks + factor - 1) / factor * factor;
}

} // namespace

struct JpegTranscoder::Codec {
    jpeg_decompress_struct in{};
    jpeg_compress_struct out{};
    ErrorHandler error{};
    BufferDestination destination{};
    bool in_created = false, out_created = false;
    // Per component: the output's 1 / quantizer, and input / output quantizer.
    float reciprocal[3][64]{};
    float factor[3][64]{};
    bool same_tables[3]{};
    // One row of MCUs as samples: 16 luma rows and 8 of each chroma, MCU-padded.
    std::vector<std::uint8_t> y, cb, cr;
    int y_stride = 0, chroma_stride = 0;

    ~Codec() {
        if (in_created) jpeg_destroy_decompress(&in);
        if (out_created) jpeg_destroy_compress(&out);
    }

    bool Run(std::span<const std::uint8_t> jpeg, const YCbCrOverlay& overlay, int quality,
             std::vector<std::uint8_t>& bytes);
    void Create();
    void TakeTables();
    void Rework(jvirt_barray_ptr* arrays, const YCbCrOverlay& overlay);
    void ReworkMcuRow(jvirt_barray_ptr* arrays, const YCbCrOverlay& overlay, int row);
    void RequantizeRow(JBLOCKROW blocks, JDIMENSION count, int component) const;
};

void JpegTranscoder::Codec::Create() {
    in.err = out.err = jpeg_std_error(&error.manager);
    error.manager.error_exit = Fail;
    error.manager.emit_message = Note;
    error.manager.output_message = Silent;
    destination.manager.init_destination = StartOutput;
    destination.manager.empty_output_buffer = GrowOutput;
    destination.manager.term_destination = EndOutput;
    if (!in_created) jpeg_create_decompress(&in);
    in_created = true;
    jpeg_create_compress(&out);
    out_created = true;
}

// The locals of this function are not touched between setjmp and a jump back to it.
bool JpegTranscoder::Codec::Run(std::span<const std::uint8_t> jpeg, const YCbCrOverlay& overlay,
                                int quality, std::vector<std::uint8_t>& bytes) {
    error.warned = false;
    if (setjmp(error.jump)) {
        if (in_created) jpeg_abort_decompress(&in);
        if (out_created) jpeg_abort_compress(&out);
        return false;
    }
    if (!out_created) Create();
    jpeg_mem_src(&in, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
    if (jpeg_read_header(&in, TRUE) != JPEG_HEADER_OK || !Is420(in) ||
        in.image_width != static_cast<JDIMENSION>(overlay.Width()) ||
        in.image_height != static_cast<JDIMENSION>(overlay.Height())) {
        jpeg_abort_decompress(&in);
        return false;
    }
    jvirt_barray_ptr* arrays = jpeg_read_coefficients(&in);
    if (!arrays || error.warned) Fail(reinterpret_cast<j_common_ptr>(&in));
    jpeg_copy_critical_parameters(&in, &out);
    jpeg_set_quality(&out, quality, TRUE);
    out.comp_info[0].quant_tbl_no = 0;
    out.comp_info[1].quant_tbl_no = out.comp_info[2].quant_tbl_no = 1;
    TakeTables();
    Rework(arrays, overlay);
    out.dest = &destination.manager;
    jpeg_write_coefficients(&out, arrays);
    jpeg_finish_compress(&out);
    jpeg_abort_decompress(&in); // what follows the picture's last block does not matter
    if (error.warned) return false;
    bytes.assign(destination.buffer.begin(),
                 destination.buffer.begin() + static_cast<std::ptrdiff_t>(destination.used));
    return true;
}

void JpegTranscoder::Codec::TakeTables() {
    for (int c = 0; c < 3; ++c) {
        const JQUANT_TBL* from = in.comp_info[c].quant_table;
        const JQUANT_TBL* to = out.quant_tbl_ptrs[out.comp_info[c].quant_tbl_no];
        if (!from || !to) Fail(reinterpret_cast<j_common_ptr>(&in));
        same_tables[c] = true;
        for (int k = 0; k < 64; ++k) {
            reciprocal[c][k] = 1.0f / static_cast<float>(to->quantval[k]);
            factor[c][k] = static_cast<float>(from->quantval[k]) * reciprocal[c][k];
            same_tables[c] = same_tables[c] && from->quantval[k] == to->quantval[k];
        }
    }
}

void JpegTranscoder::Codec::Rework(jvirt_barray_ptr* arrays, const YCbCrOverlay& overlay) {
    const int mcu_columns = overlay.ChromaBlockColumns();
    y_stride = 16 * mcu_columns;
    chroma_stride = 8 * mcu_columns;
    y.resize(static_cast<std::size_t>(y_stride) * 16);
    cb.resize(static_cast<std::size_t>(chroma_stride) * 8);
    cr.resize(cb.size());
    const int mcu_rows = (overlay.Height() + 15) / 16;
    for (int row = 0; row < mcu_rows; ++row)
        ReworkMcuRow(arrays, overlay, row);
}

void JpegTranscoder::Codec::RequantizeRow(JBLOCKROW blocks, JDIMENSION count, int component) const {
    if (!same_tables[component] && count > 0)
        Requantize8x8(blocks[0], static_cast<int>(count), factor[component]);
}

// The blocks of one row of MCUs: those the overlay changes go to samples, get the overlay
// and come back quantized for the output; the others are only quantized again.
void JpegTranscoder::Codec::ReworkMcuRow(jvirt_barray_ptr* arrays, const YCbCrOverlay& overlay,
                                         int row) {
    auto access = [this, arrays](int c, int first, int count) {
        return (*in.mem->access_virt_barray)(reinterpret_cast<j_common_ptr>(&in), arrays[c],
                                             static_cast<JDIMENSION>(first),
                                             static_cast<JDIMENSION>(count), TRUE);
    };
    const JBLOCKARRAY luma = access(0, 2 * row, 2);
    const JBLOCKARRAY blue = access(1, row, 1), red = access(2, row, 1);
    const JDIMENSION luma_count = PaddedBlocks(in.comp_info[0].width_in_blocks, 2);
    const JDIMENSION chroma_count = in.comp_info[1].width_in_blocks;
    const int luma_columns = overlay.LumaBlockColumns(),
              chroma_columns = overlay.ChromaBlockColumns();
    const int luma_rows = (overlay.Height() + 7) / 8;
    auto luma_touched = [&](int by, JDIMENSION bx) {
        return by < luma_rows && static_cast<int>(bx) < luma_columns &&
               overlay.LumaBlocks()[static_cast<std::size_t>(by) * luma_columns + bx] != 0;
    };
    auto chroma_touched = [&](JDIMENSION bx) {
        return static_cast<int>(bx) < chroma_columns &&
               overlay.ChromaBlocks()[static_cast<std::size_t>(row) * chroma_columns + bx] != 0;
    };
    const std::uint16_t* luma_quant = in.comp_info[0].quant_table->quantval;
    const std::uint16_t* blue_quant = in.comp_info[1].quant_table->quantval;
    const std::uint16_t* red_quant = in.comp_info[2].quant_table->quantval;
    bool any = false;
    for (JDIMENSION bx = 0; bx < chroma_count; ++bx) {
        if (!chroma_touched(bx)) continue;
        InverseDct8x8(blue[0][bx], blue_quant, cb.data() + 8 * bx, chroma_stride);
        InverseDct8x8(red[0][bx], red_quant, cr.data() + 8 * bx, chroma_stride);
        any = true;
    }
    for (int half = 0; half < 2; ++half)
        for (JDIMENSION bx = 0; bx < luma_count; ++bx) {
            if (!luma_touched(2 * row + half, bx)) continue;
            InverseDct8x8(luma[half][bx], luma_quant, y.data() + 8 * (half * y_stride + bx),
                          y_stride);
            any = true;
        }
    if (any) {
        const int top = 16 * row;
        overlay.ApplyTo(YCbCrOverlay::Band{y.data(), cb.data(), cr.data(), y_stride, chroma_stride,
                                           top, std::min(16, overlay.Height() - top)});
    }
    // The blocks redone go back through the transform; the stretches between them are only
    // quantized again.
    auto finish = [this](JBLOCKROW blocks, JDIMENSION count, int component, auto touched,
                         const std::uint8_t* samples, int stride) {
        JDIMENSION start = 0;
        for (JDIMENSION bx = 0; bx <= count; ++bx) {
            if (bx < count && !touched(bx)) continue;
            RequantizeRow(blocks + start, bx - start, component);
            if (bx < count)
                ForwardDct8x8(samples + 8 * bx, stride, reciprocal[component], blocks[bx]);
            start = bx + 1;
        }
    };
    finish(blue[0], chroma_count, 1, chroma_touched, cb.data(), chroma_stride);
    finish(red[0], chroma_count, 2, chroma_touched, cr.data(), chroma_stride);
    for (int half = 0; half < 2; ++half)
        finish(
            luma[half], luma_count, 0,
            [&](JDIMENSION bx) { return luma_touched(2 * row + half, bx); },
            y.data() + 8 * half * y_stride, y_stride);
}

JpegTranscoder::JpegTranscoder() : codec_(std::make_unique<Codec>()) {}
JpegTranscoder::~JpegTranscoder() = default;

bool JpegTranscoder::Transcode(std::span<const std::uint8_t> jpeg, const YCbCrOverlay& overlay,
                               int quality, std::vector<std::uint8_t>& out) {
    const bool ok = overlay.Width() > 0 && !jpeg.empty() &&
                    codec_->Run(jpeg, overlay, std::clamp(quality, 1, 100), out);
    if (!ok) out.clear();
    return ok;
}

} // namespace tess
