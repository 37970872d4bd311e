#include "tools/commands/CommandListen.h"

#include <gtest/gtest.h>

namespace trigora::tools {
namespace {

TEST(ListenTest, PrintsOneLinePerNotificationWhateverItHolds) {
    const HeardNotification quit{"ReplySAQuitDistributedNotification", true, {}};
    EXPECT_EQ(asText(quit), "ReplySAQuitDistributedNotification");
    EXPECT_EQ(asJson(quit),
              R"({"deliverImmediately":true,"name":"ReplySAQuitDistributedNotification","userInfo":{}})");

    const HeardNotification evil{"Evil\033[2J\n", false, {{"Key\n", Array{"line\none", 2}}}};
    EXPECT_EQ(asText(evil), "Evil?[2J? {Key? = (line?one, 2);}");
    EXPECT_EQ(asJson(evil), R"({"deliverImmediately":false,"name":"Evil\u001b[2J\n",)"
                            R"("userInfo":{"Key\n":["line\none",2]}})");
}

} // namespace
} // namespace trigora::tools
