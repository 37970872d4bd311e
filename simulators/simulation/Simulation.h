#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

/// What the simulated modules share: one folder that they are controlled through and write down into what
/// they are asked. It holds
///
///     settings.json   how they answer, read afresh at every call (docs/modules.md describes the keys)
///     choices.json    what the user chose at the panel
///     journal.jsonl   one line per call that a module got
///     netscan.sock, usbscan.sock   take commands, see CommandChannel.h
///
/// Everything here may be called on any thread and throws nothing but what memory shortage throws.
namespace trigora::simulators {

using nlohmann::json;

/// The value of TRIGORA_SIMULATORS, else "trigora-simulators" in the user's run-time folder; none without
/// either. The folder is made when it is missing.
std::optional<std::string> simulationFolder();

/// An object; an empty one when there is no such file, or it holds none or more than a megabyte.
json readObject(const std::string& fileName);
/// Replaces the file as a whole. False when that cannot be done.
bool writeObject(const std::string& fileName, const json& object);

/// Whether "missing" of the settings lists the function or operation: then the module does not offer it.
bool isMissing(const std::string& operation);

/// Writes a call down, with its details and its result, and returns the result: the one that the settings
/// have under the operation's name, else the usual one. Before that it takes the milliseconds that "delays"
/// of the settings have for it, a minute at most.
std::int32_t answerCall(const std::string& module, const std::string& operation, json details,
                        std::int32_t usual);
/// The same without a result.
void noteCall(const std::string& module, const std::string& operation, json details);

// Reading what others wrote; a value of another type counts as missing.

std::optional<std::string> textAt(const json& object, const std::string& key);
std::int64_t integerAt(const json& object, const std::string& key, std::int64_t byDefault);
bool contains(const json& object, const std::string& key, const std::string& text);

std::string hexadecimal(const void* bytes, std::size_t count);
/// The bytes that a hexadecimal text stands for; none when it is not one.
std::optional<std::vector<std::uint8_t>> bytesOf(const std::string& hexadecimal);
/// A NUL-terminated text of unknown origin, cut after 4096 bytes; null for none.
json textOrNull(const char* text);

} // namespace trigora::simulators

/// Exports `trigora::simulators::Name` as a plain C function. While the settings list it as missing, looking
/// it up finds nothing: the look-up runs the resolver, which then has no function to give.
#define TRIGORA_SIMULATED_FUNCTION(Name, Type)                                                               \
    extern "C" {                                                                                             \
    __attribute__((used)) static Type* resolve##Name() {                                                     \
        return trigora::simulators::isMissing(#Name) ? nullptr : &trigora::simulators::Name;                 \
    }                                                                                                        \
    __attribute__((visibility("default"), ifunc("resolve" #Name))) Type Name;                                \
    }
