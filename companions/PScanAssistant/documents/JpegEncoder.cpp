#include "companions/PScanAssistant/documents/JpegEncoder.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <exception>
#include <utility>

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

/// Where the library puts the file: into a vector that belongs to the caller, whatever happens here.
struct Destination {
    jpeg_destination_mgr base;
    Data* bytes;
};

/// Offers the library the bytes from `used` on. False without memory; no exception may pass the library.
bool offerRoom(Destination& destination, std::size_t used) {
    constexpr std::size_t firstSize = std::size_t{64} << 10;
    try {
        destination.bytes->resize(std::max(firstSize, used * 2));
    } catch (const std::exception&) {
        return false;
    }
    destination.base.next_output_byte = destination.bytes->data() + used;
    destination.base.free_in_buffer = destination.bytes->size() - used;
    return true;
}

void begin(j_compress_ptr compressor) {
    if (!offerRoom(*reinterpret_cast<Destination*>(compressor->dest), 0)) {
        jumpOut(reinterpret_cast<j_common_ptr>(compressor));
    }
}

/// Called when all that was offered is full.
boolean goOn(j_compress_ptr compressor) {
    auto& destination = *reinterpret_cast<Destination*>(compressor->dest);
    if (!offerRoom(destination, destination.bytes->size())) {
        jumpOut(reinterpret_cast<j_common_ptr>(compressor));
    }
    return TRUE;
}

void end(j_compress_ptr compressor) {
    auto& destination = *reinterpret_cast<Destination*>(compressor->dest);
    destination.bytes->resize(destination.bytes->size() - destination.base.free_in_buffer);
}

/// No object with a destructor may live in here, because of the jump.
bool compress(const PageImage& page, int quality, Data& bytes) {
    jpeg_compress_struct compressor;
    Destination destination{{nullptr, 0, begin, goOn, end}, &bytes};
    ErrorManager errors;
    compressor.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = jumpOut;
    if (setjmp(errors.out) != 0) {
        jpeg_destroy_compress(&compressor);
        return false;
    }
    jpeg_create_compress(&compressor);
    compressor.dest = &destination.base;
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
    Data bytes;
    return compress(page, quality, bytes) ? std::optional(std::move(bytes)) : std::nullopt;
}

} // namespace trigora::companions
