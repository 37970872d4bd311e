#include "companions/TrigoraButtons/messages/ReaderMessage.h"

#include <algorithm>
#include <array>
#include <utility>

namespace trigora::buttons {

namespace {

constexpr std::array refusalNames{
    std::pair{Refusal::busy, "busy"},
    std::pair{Refusal::accessDenied, "denied"},
    std::pair{Refusal::failed, "failed"},
    std::pair{Refusal::noSane, "no SANE"},
};

constexpr std::size_t lengthBytes = 2;

} // namespace

std::vector<std::uint8_t> encodeReaderMessage(const ReaderMessage& message) {
    std::vector<std::uint8_t> bytes{static_cast<std::uint8_t>(message.kind)};
    for (const std::string& field : message.fields) {
        if (bytes.size() + lengthBytes > largestReaderMessage) {
            break;
        }
        const std::size_t length = std::min(field.size(), largestReaderMessage - bytes.size() - lengthBytes);
        bytes.push_back(static_cast<std::uint8_t>(length >> 8U));
        bytes.push_back(static_cast<std::uint8_t>(length));
        bytes.insert(bytes.end(), field.begin(), field.begin() + static_cast<std::ptrdiff_t>(length));
    }
    return bytes;
}

std::optional<ReaderMessage> decodeReaderMessage(std::span<const std::uint8_t> bytes) {
    if (bytes.empty() || bytes[0] < static_cast<std::uint8_t>(ReaderMessage::Kind::letGo) ||
        bytes[0] > static_cast<std::uint8_t>(ReaderMessage::Kind::closed)) {
        return std::nullopt;
    }
    ReaderMessage message{.kind = static_cast<ReaderMessage::Kind>(bytes[0]), .fields = {}};
    for (bytes = bytes.subspan(1); !bytes.empty();) {
        if (bytes.size() < lengthBytes) {
            return std::nullopt;
        }
        const std::size_t length = static_cast<std::size_t>(bytes[0]) << 8U | bytes[1];
        bytes = bytes.subspan(lengthBytes);
        if (bytes.size() < length) {
            return std::nullopt;
        }
        message.fields.emplace_back(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        bytes = bytes.subspan(length);
    }
    return message;
}

std::string nameOf(Refusal refusal) {
    return std::ranges::find(refusalNames, refusal, &std::pair<Refusal, const char*>::first)->second;
}

Refusal refusalNamed(const std::string& name) {
    const auto found = std::ranges::find(refusalNames, name, &std::pair<Refusal, const char*>::second);
    return found == refusalNames.end() ? Refusal::failed : found->first;
}

} // namespace trigora::buttons
