#include "platform/linux/formats/LinuxFormats.h"

#include <md5.h>

namespace trigora::platform {

std::array<std::uint8_t, 16> LinuxMessageDigest::md5(const Data& bytes) {
    std::array<std::uint8_t, 16> digest = {};
    MD5_CTX context = {};
    ::MD5Init(&context);
    ::MD5Update(&context, bytes.data(), bytes.size());
    ::MD5Final(digest.data(), &context);
    return digest;
}

} // namespace trigora::platform
