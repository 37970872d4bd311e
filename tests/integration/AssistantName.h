#pragma once

namespace trigora::test {

constexpr const char* assistantName = "com.pelox.test.ScriptedAssistant";

} // namespace trigora::test
