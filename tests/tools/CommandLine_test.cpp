#include "tools/commands/Commands.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <sstream>

namespace trigora::tools {
namespace {

struct Outcome {
    ExitCode code;
    std::string out;
    std::string err;
};

/// A command that prints what it was given.
ExitCode echo(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::int64_t count = arguments.integer("count", 7, 0, 0xFFFFFFFF);
    out << arguments.text("name").value_or("-") << ' ' << count << ' '
        << (arguments.has("loud") ? "loud" : "quiet");
    for (const std::string& operand : arguments.operands()) {
        out << ' ' << operand;
    }
    return done;
}

constexpr std::array options{Option{"name", "NAME", "a name", true}, Option{"count", "N", "a number"},
                             Option{"loud", "", "a switch"}};
const std::array testCommands{Command{"echo", "FILE…", "Prints.", options, echo},
                              Command{"bare", "", "Prints.", options, echo}};

Outcome run(std::vector<std::string> words) {
    std::ostringstream out;
    std::ostringstream err;
    const ExitCode code = runCommandLine(testCommands, words, out, err);
    return {code, out.str(), err.str()};
}

TEST(CommandLineTest, OptionsAndOperandsReachTheCommand) {
    const std::array<std::pair<std::vector<std::string>, std::string>, 5> cases{{
        {{"echo", "--name", "a b", "--loud"}, "a b 7 loud"},
        {{"echo", "x", "--name=a=b", "--count=0x13", "y"}, "a=b 19 quiet x y"},
        {{"echo", "--name", "--loud", "--", "--count"}, "--loud 7 quiet --count"},
        {{"echo", "--name", "x", "-", "--", "-h"}, "x 7 quiet - -h"},
        {{"bare", "--name=", "--count", "4294967295"}, " 4294967295 quiet"},
    }};
    for (const auto& [words, printed] : cases) {
        const Outcome result = run(words);
        EXPECT_EQ(result.code, done) << result.err;
        EXPECT_EQ(result.out, printed);
    }
}

TEST(CommandLineTest, WrongUseSaysWhatIsWrong) {
    const std::array<std::pair<std::vector<std::string>, std::string>, 14> cases{{
        {{"dance"}, "no command dance"},
        {{"echo"}, "--name is needed"},
        {{"echo", "--name"}, "--name needs a value"},
        {{"echo", "--nam", "x"}, "no option --nam"},
        {{"echo", "--name=x", "--loud=yes"}, "--loud takes no value"},
        {{"echo", "--name=x", "--count", "three"}, "--count must be a number"},
        {{"echo", "--name=x", "--count", "3x"}, "--count must be a number"},
        {{"echo", "--name=x", "--count", "-1"}, "--count must be a number"},
        {{"echo", "--name=x", "--count", "4294967296"}, "--count must be a number"},
        {{"echo", "--name=x", "--count", "99999999999999999999"}, "--count must be a number"},
        {{"bare", "--name=x", "stray"}, "what is stray?"},
        {{"echo", "--name=x", "-v"}, "no option -v"},
        {{"--root=/", "--json", "echo", "--name=x"}, "no option --root"},
        {{"--root", "/"}, "a command is needed"},
    }};
    for (const auto& [words, complaint] : cases) {
        const Outcome result = run(words);
        EXPECT_EQ(result.code, wrongUsage);
        EXPECT_NE(result.err.find(complaint), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(run({}).code, wrongUsage);
}

TEST(CommandLineTest, HelpNamesEveryCommandAndEveryOption) {
    EXPECT_NE(run({"--help"}).out.find("bare"), std::string::npos);
    const Outcome help = run({"echo", "--help"});
    EXPECT_EQ(help.code, done);
    EXPECT_EQ(run({"echo", "x", "-h"}).out, help.out);
    EXPECT_EQ(run({"help", "echo"}).out, help.out);
    EXPECT_EQ(run({"-h"}).out, run({"--help"}).out);
    EXPECT_EQ(run({"--version"}).code, done);
    EXPECT_NE(help.out.find("usage: trigoractl echo --name NAME [--count N] [--loud] FILE…"),
              std::string::npos)
        << help.out;
}

TEST(CommandLineTest, OutputThatCannotBeWrittenIsAFailure) {
    const auto exitCode = [](const char* shellLine) { return WEXITSTATUS(std::system(shellLine)); };
    EXPECT_EQ(exitCode(TRIGORACTL " --help >/dev/full 2>/dev/null"), failed);
    EXPECT_EQ(exitCode(TRIGORACTL " --help >/dev/null"), done);
}

TEST(CommandLineTest, WithoutASessionBusTheCommandsSaySo) {
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
    const std::array<std::vector<std::string>, 2> lines{
        {{"press", "--driver", "A", "--button", "1"}, {"listen", "--timeout", "1"}}};
    for (const std::vector<std::string>& words : lines) {
        std::ostringstream out;
        std::ostringstream err;
        EXPECT_EQ(runCommandLine(commands(), words, out, err), unreachable);
        EXPECT_NE(err.str().find("session bus"), std::string::npos) << err.str();
    }
}

} // namespace
} // namespace trigora::tools
