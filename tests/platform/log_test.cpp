// The host's log sinks and their settings.
#include "log/settings.h"
#include "platform/os_log.h"
#include "support/patterns.h"
#include "support/processes.h"

#include <filesystem>
#include <map>
#include <sstream>

using namespace processes;

struct HostLog {
    RuntimeDir directory;
    const std::string target = "file:" + directory.File("log");

    /// Lines of a file without their time, process and thread, which must be there.
    std::string Written(const std::string& file) const
    {
        return patterns::Replaced(Contents(directory.File(file)),
                                  R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \d+:\d+ ([EWID]) )", "$1 ");
    }

    /// What a process writes to the file "log", and to stderr, when the environment says so.
    std::string Logged(std::map<std::string, std::string> environment) const
    {
        std::filesystem::remove(directory.File("log"));
        InFork([&] {
            for (const auto& [name, value] : environment)
                setenv(("VESK_" + name).c_str(), value.c_str(), 1);
            EXPECT_NE(freopen(directory.File("stderr").c_str(), "w", stderr), nullptr);
            for (uint32_t level = 0; level <= 4; ++level)
                ZORA_Trace(ZORA_GetVideoTracLevel(), level, "ZORA", "Function", level + 10, "error %d\n", 5);
            const uint32_t id = VeskVideoGetPrivateLogId(0);
            VeskOmLogModuleLogRecord(1, id, "source!", 6, 21, "a\nb\tc\x1b[2J%s\u009b\n\n", "\r");
            for (const uint32_t level : {2U, 3U, 4U}) // the second is too long for a file
                VeskOmLogModuleLogRecord(level, id, "source", 6, level + 20, "%s",
                                         std::string(level == 3 ? 9000 : 3, 'x').c_str());
        });
        return Written("log") + '|' + Written("stderr");
    }
};

FORKED_TEST(HostLog, IsSilentButForErrorsAndKeepsARecordOnALine)
{
    const std::string expected = "E [ZORA] Function:10 error 5\nE [ZORA] Function:11 error 5\n"
                                 "E [source] 21 a\\nb\\tc\\x1b[2J\\x0d\\u009b\n";
    EXPECT_EQ(Logged({{"LOG_TARGET", target}}), expected + '|');
    EXPECT_EQ(Logged({{"LOG_TARGET", "stderr"}}), '|' + expected);
    EXPECT_EQ(Logged({{"LOG_TARGET", ""}}), '|' + expected);
    EXPECT_EQ(Logged({{"LOG_TARGET", "none"}}), "|");
    const std::string unwritable = Logged({{"LOG_TARGET", "file:" + directory.path}});
    EXPECT_TRUE(unwritable.ends_with("stderr is used\n" + expected)) << unwritable;
}

FORKED_TEST(HostLog, ThresholdsAreSetApartAndFilesAreRotated)
{
    EXPECT_EQ(Logged({{"LOG_TARGET", target}, {"TRACE_LEVEL", "4"}, {"LOG_LEVEL", "0"}}),
              "E [ZORA] Function:10 error 5\nE [ZORA] Function:11 error 5\nW [ZORA] Function:12 error 5\n"
              "I [ZORA] Function:13 error 5\nD [ZORA] Function:14 error 5\n|");
    std::map<std::string, std::string> small = {
        {"LOG_TARGET", target}, {"LOG_LEVEL", "4"}, {"LOG_FILE_SIZE", "4096"}, {"LOG_FILES", "2"}};
    Logged(small);
    small["TRACE_LEVEL"] = "0";
    EXPECT_EQ(Logged(small), "D [source] 24 xxx\n|");
    EXPECT_EQ(Written("log.1"), "I [source] 23 " + std::string(9000, 'x') + '\n');
    const std::string oldest = Written("log.2");
    EXPECT_EQ(oldest.find("E [ZORA] Function:10 error 5\nE [source] 21"), 0U) << oldest;
    EXPECT_NE(oldest.find("W [source] 22 xxx\n"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(directory.File("log.3")));
}

FORKED_TEST(HostLog, BadSettingsAreNamedAndTheDefaultHolds)
{
    const struct {
        std::string variable, standard, good, bad, wanted;
    } cases[] = {
        {"VESK_TRACE_LEVEL", "1", "0 4", "5 -1 many 3x", "not a number from 0 to 4, 1 is used"},
        {"VESK_LOG_LEVEL", "1", "0 4", "5 4.0", "not a number from 0 to 4, 1 is used"},
        {"VESK_LOG_FILE_SIZE", "10485760", "4096 1099511627776", "4095 1099511627777",
         "not a number from 4096 to 1099511627776, 10485760 is used"},
        {"VESK_LOG_FILES", "3", "1 100", "0 101", "not a number from 1 to 100, 3 is used"},
        {"VESK_LOG_TARGET", "stderr", "syslog none file:x",
         "printer file:", "none of stderr, syslog, none, file:PATH; stderr is used"},
    };
    for (const auto& c : cases) {
        const auto read = [&](const std::string& text) {
            setenv(c.variable.c_str(), text.c_str(), 1);
            testing::internal::CaptureStderr();
            const vesk::host::LogSettings settings = vesk::host::ReadLogSettings();
            unsetenv(c.variable.c_str());
            const std::string values[] = {
                std::to_string(settings.traceLevel), std::to_string(settings.logLevel),
                std::to_string(settings.fileSize), std::to_string(settings.fileCount), settings.target};
            return values[&c - cases] + ' ' + testing::internal::GetCapturedStderr();
        };
        std::istringstream good(c.good), bad(c.bad);
        EXPECT_EQ(read(""), c.standard + ' ');
        for (std::string text; good >> text;)
            EXPECT_EQ(read(text), text + ' ');
        for (std::string text; bad >> text;)
            EXPECT_EQ(read(text), c.standard + ' ' + c.variable + "='" + text + "' is " + c.wanted + '\n');
    }
}
