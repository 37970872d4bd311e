#include "companions/PScanAssistant/JpegEncoder.h"

#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace trigora::companions {

namespace {

/// The library ends the program on an error unless its handler jumps away.
struct ErrorManager {
    jpeg_error_mgr base;
    std::jmp_buf out;
};

[[noreturn]] void jumpOut(j_common_ptr compressor) {
    std::longjmp(reinterpret_cast<ErrorManager*>(compressor->err)->out, 1);
}

/// Compresses into memory that the caller frees. No object with a destructor may live in here, because of
/// the jump.
bool compress(const PageImage& page, int quality, unsigned char** bytes, unsigned long* size) {
    jpeg_compress_struct compressor;
    ErrorManager errors;
    compressor.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = jumpOut;
    if (setjmp(errors.out) != 0) {
        jpeg_destroy_compress(&compressor);
        return false;
    }
    jpeg_create_compress(&compressor);
    jpeg_mem_dest(&compressor, bytes, size);
    const bool isColour = page.type == ImageType::colour;
    compressor.image_width = static_cast<JDIMENSION>(page.width);
    compressor.image_height = static_cast<JDIMENSION>(page.height);
    compressor.input_components = isColour ? 3 : 1;
    compressor.in_color_space = isColour ? JCS_RGB : JCS_GRAYSCALE;
    jpeg_set_defaults(&compressor);
    jpeg_set_quality(&compressor, quality, TRUE);
    compressor.density_unit = 1; // dots per inch
    compressor.X_density = static_cast<UINT16>(page.resolution);
    compressor.Y_density = compressor.X_density;
    jpeg_start_compress(&compressor, TRUE);
    while (compressor.next_scanline < compressor.image_height) {
        auto* row = const_cast<JSAMPROW>(page.row(compressor.next_scanline));
        jpeg_write_scanlines(&compressor, &row, 1);
    }
    jpeg_finish_compress(&compressor);
    jpeg_destroy_compress(&compressor);
    return true;
}

} // namespace

std::optional<Data> encodeJpeg(const PageImage& page, int quality) {
    if (page.type == ImageType::blackAndWhite) {
        return encodeJpeg(convertedTo(ImageType::grey, page), quality);
    }
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    std::optional<Data> result;
    if (compress(page, quality, &bytes, &size)) {
        result.emplace(bytes, bytes + size);
    }
    std::free(bytes);
    return result;
}

} // namespace trigora::companions
