// The directory that the sockets of tasks stand in.
#include "platform/message_fixture.h"

#include <cstring>
#include <filesystem>
#include <tuple>

#include <fcntl.h>
#include <sys/stat.h>

FORKED_TEST(HostMessage, TheRuntimeDirectoryIsFoundOrRefusedWithALine)
{
    const auto variables = [](const std::string& own, const std::string& parent) {
        setenv("VESK_RUNTIME_DIR", own.c_str(), 1);
        setenv("XDG_RUNTIME_DIR", parent.c_str(), 1);
    };
    for (const auto& [own, parent, path] :
         {std::tuple(directory.File("link"), std::string(1, '/'), directory.File("link")),
          {"", directory.path, directory.File("vesk")},
          {"", "", "/tmp/vesk-" + std::to_string(geteuid())}}) {
        variables(own, parent);
        const UniqueFd opened(HostMsgOpenRuntimeDir);
        struct stat status {};
        EXPECT_TRUE(fstat(opened.Get(), &status) == 0 && (status.st_mode & 0777U) == 0700U);
        EXPECT_EQ(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(opened.Get())), path);
    }
    std::filesystem::remove(directory.File("link"));
    std::filesystem::create_symlink(directory.File("vesk"), directory.File("link"));
    close(creat(directory.File("file").c_str(), 0600));
    ASSERT_EQ(HostMsgSetProcName("self"), 0U);
    const std::tuple<std::string, mode_t, std::string> cases[] = {
        {"link", 0, "cannot be opened: it is not a directory itself"},
        {"file", 0, "cannot be opened: it is not a directory itself"},
        {"file/below", 0, "cannot be created: Not a directory"},
        {"open", 0702, "may be written by others, mode 702"},
        {"group", 0720, "may be written by others, mode 720"},
        {"foreign", 0700, "belongs to user 12345, not to user 0"},
    };
    for (const auto& [name, mode, line] : cases) {
        const std::string path = directory.File(name);
        ASSERT_TRUE(mode == 0 || (mkdir(path.c_str(), 0700) == 0 && chmod(path.c_str(), mode) == 0));
        if (name == "foreign" && chown(path.c_str(), 12345, 12345) != 0)
            continue; // only root can give it away
        variables(path, "");
        Expect(Ask("peer").result, HOST_MSG_ERR_DIRECTORY, "runtime directory " + path + ' ' + line);
        EXPECT_EQ(OsMsgRegTask("task", 8, Echo), uint32_t{HOST_MSG_ERR_DIRECTORY});
    }
    const std::string tooLong = directory.path + '/' + std::string(97 - directory.path.size(), 'f');
    variables(tooLong, ""); // with the endpoint's name, by one byte
    const size_t lines = g_lines.size();
    {
        const Served task("task", Echo); // nothing is lost: it works once the directory does
        EXPECT_EQ(Ask("self").data, "question");
    }
    EXPECT_FALSE(std::filesystem::exists(tooLong + "/self.task"));
    {
        const Served homeless("task", Echo, false);
        std::filesystem::remove_all(tooLong);
    }
    EXPECT_EQ(g_lines.size(), lines);
    variables(directory.path, "");
}
