// What veskctl draws, compares and records of displays, and pictures that scripts expect.
#include "pictures/files.h"
#include "support/patterns.h"
#include "support/processes.h"

#include <csignal>
#include <filesystem>
#include <fstream>

using namespace processes;
namespace fs = std::filesystem;

namespace {

const std::string kVeskctl = VESK_EMULATOR " " VESK_VESKCTL_PATH " ";

/// A camera that is seen on the first display, a quarter of a second after the start.
constexpr char kCamera[] = "$in = OPEN_VI_PORT viPort=0\nVI_START inEngNo=$in\n$out = OPEN_VO_PORT voPort=0\n"
                           "SET_VO_SRC outEngNo=$out picNum=1 subPic[0].inputId=$in\nVO_START outEngNo=$out\n"
                           "device time 250\n";

/// A device whose time stands still, and a folder in which commands run.
struct PicturesTest : testing::Test {
    RuntimeDir directory;
    Child service = Start(VESK_SERVICE_PATH, "--step");

    PicturesTest() { service.ExpectOutput("serving"); }

    Result Veskctl(const std::string& words) const
    {
        return Shell("cd " + directory.path + " && " + kVeskctl + words);
    }
    Result Run(const std::string& script, const std::string& options = "") const
    {
        std::ofstream(directory.File("script")) << script;
        return Veskctl("run -q script " + options);
    }
    bool Exists(const std::string& name) const { return fs::exists(directory.File(name)); }

    struct Row {
        const char* words;
        int status;
        const char* output; ///< A regular expression.
    };
    void Expect(std::initializer_list<Row> rows) const
    {
        for (const Row& row : rows) {
            const Result result = Veskctl(row.words);
            EXPECT_EQ(result.status, row.status) << row.words << '\n' << result.output;
            EXPECT_TRUE(patterns::IsFound(result.output, row.output)) << row.words << '\n' << result.output;
        }
        for (const auto& file : fs::directory_iterator(directory.path))
            EXPECT_NE(file.path().extension(), ".part") << file.path();
    }
};

} // namespace

TEST_F(PicturesTest, ScreenshotsAndComparisons)
{
    const std::string veskctl = kVeskctl + "device ";
    const std::string piped = "device screenshot 0 --size 64x -o - | " + veskctl + "compare - small.png";
    const std::string saved =
        "device scene --json | " + veskctl + "screenshot 1 --scene - --size 64x -o second.png";
    Expect({
        {"device screenshot", 0, "^display-0.png: 3840x2160\n$"},
        {"device screenshot 1 --size x90 -o one.jpg --json", 0,
         R"(^\{"file":"one.jpg","width":160,"height":90,"atMs":0\}\n$)"},
        {"device screenshot 0 --size 64x -o small.png", 0, "^small.png: 64x36\n$"},
        {piped.c_str(), 0, "^small.png: similarity 1, 0 of 2304 pixels differ\n$"},
        {saved.c_str(), 0, "^second.png: 64x36\n$"},
        {"device compare small.png second.png -o marked.png", 1,
         "^second.png: similarity 0.*, [0-9]+ of 2304 pixels differ\n"
         "veskctl: small.png and second.png differ by [0-9.]+ %, more than 0 %\n$"},
        {"device compare small.png second.png --tolerance 100 --json", 0,
         R"(^\{"expected":"small.png","actual":"second.png","similarity":0.*,"differentPixels":[1-9])"},
        {"device compare small.png marked.png --tolerance 0.0001", 1, "more than 0.0001 %\n$"},
        {"device compare small.png one.jpg", 1, "one.jpg has 160x90 pixels, small.png has 64x36\n$"},
        {"device compare small.png script", 1, "^veskctl: script: No such file or directory\n$"},
        {"device compare - -", 2, "only one of the pictures can be standard input"},
        {"device screenshot 0 --size 8193x", 2,
         "--size 8193x: expected WxH, Wx or xH with sides from 1 to 8192"},
        {"device screenshot 0 --size 64", 2, "--size 64: expected"},
        {"device screenshot 0 --size x", 2, "--size x: expected"},
        {"device screenshot 0 -o a.gif", 2, "a.gif: expected a name that ends with .png, .jpg or .jpeg\n$"},
        {"device screenshot 0 -o none/a.png", 1, "cannot write none/a.png: No such file or directory\n$"},
        {"device screenshot 0 -o - > /dev/full", 1, "cannot write to standard output: No space"},
        {"device screenshot 7", 3, "NUMBER"},
        {"device screenshot 0 --size 64x --terminal", 0, "(\u2580|\u2584|\u2588|\x1b|without libchafa)"},
        {"device screenshot 0 --terminal --json", 2, "no JSON"},
        {"device screenshot --snapshot 2", 1, "there is no snapshot 2\n$"},
        {"device screenshot 0 --snapshot 2", 2, "excludes"},
    });
}

TEST_F(PicturesTest, SavedScenesNeedNoService)
{
    EXPECT_EQ(
        Run(kCamera +
                std::string("GET_SNAPSHOT value3=0 value2=0 voPort=0 taskId=8 path=a.png\ndevice time 250\n"
                            "device screenshot 0 --size 320x -o now.png\n"
                            "device state --json\n"),
            "| grep '\"outputs\"' > state")
            .status,
        0);
    Expect({{"call GET_VO_COUNT", 0, "count=2"}});
    service.Wait(SIGTERM);
    std::ofstream(directory.File("hostile"))
        << R"({"scenes":[{"voPort":0,"name":"a\u001b[2J","width":-1,"height":90,"fr":60,"atMs":0}]})";
    std::ofstream(directory.File("array")) << "[1]";
    Expect({
        {"device screenshot", 4, "got no answer"},
        {"device screenshot 0 --scene state --size 320x -o then.png", 0, "^then.png: 320x180\n$"},
        {"device compare now.png then.png", 0, "similarity 1, 0 of"},
        {"device screenshot --scene state --snapshot 1 --size 320x -o taken.png --json", 0, "\"atMs\":250"},
        {"device compare now.png taken.png", 1, "now.png and taken.png differ"},
        {"device screenshot --scene state --snapshot 1 --at 500 --size 320x -o taken.png", 0,
         "taken.png: 320x180"},
        {"device compare now.png taken.png", 0, "similarity 1, 0 of"},
        {"device screenshot 5 --scene state", 1, "state: there is no display 5\n$"},
        {"device screenshot --scene state --snapshot 7", 1, "state: there is no snapshot 7; there are 1\n$"},
        {"device screenshot --scene hostile", 1, "^veskctl: hostile: .*width"},
        {"device screenshot --scene hostile --snapshot 1", 1,
         "^veskctl: hostile: expected the member 'snapshots'\n$"},
        {"device screenshot --scene array", 1, "^veskctl: array: "},
        {"device screenshot --scene now.png", 1, "^veskctl: now.png: "},
        {"device screenshot --scene none", 1, "^veskctl: none: No such file or directory\n$"},
    });
}

TEST_F(PicturesTest, AScriptExpectsPictures)
{
    const std::string script =
        kCamera + std::string("expect-picture 0 camera.png --size 320x --tolerance 0\n");
    Result result = Run(script);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(patterns::IsFound(result.output,
                                  "script:7: camera.png: there is no such picture; 'veskctl run --update' "
                                  "writes it\n$"))
        << result.output;
    EXPECT_EQ(Run(script, "--update").status, 0);
    EXPECT_TRUE(Exists("camera.png"));

    // A device that does the same shows the same, and one whose cable is pulled does not.
    service.Wait(SIGTERM);
    const std::string again = "with-device --step -- " VESK_VESKCTL_PATH " run -q script ";
    if (*VESK_EMULATOR != '\0')
        GTEST_SKIP() << "veskctl cannot start the service under an emulator";
    result = Veskctl(again + "--update");
    EXPECT_NE(result.output.find("camera.png: written\n"), std::string::npos) << result.output;
    result = Veskctl(again + "--json");
    EXPECT_NE(
        result.output.find(R"({"display":0,"expected":"camera.png","similarity":1.0,"differentPixels":0})"),
        std::string::npos)
        << result.output;
    std::ofstream(directory.File("script"), std::ios::app)
        << "device unplug input 0\nexpect-picture 0 camera.png --size 320x\n"
           "expect-picture 0 camera.png --size 64x\ndevice plug input 0\n"
           "expect-picture 0 camera.png --size 320x --at 250 --tolerance 0\n"
           "expect-picture 0 camera.gif\nexpect-picture 0 -\nexpect-picture 9 camera.png\n";
    result = Veskctl(again + "-k");
    EXPECT_TRUE(patterns::IsFound(result.output,
                                  "script:9: camera.png and display 0 differ by [0-9.]+ %, more than 1 %: "
                                  "similarity .* see camera-actual.png and camera-differs.png\n"))
        << result.output;
    for (const char* text :
         {":10: camera.png and display 0 differ in size: 320x180 and 64x36; see camera-actual.png\n",
          ":13: camera.gif: expected a name", ":14: expect-picture: expected a file, not -",
          ":15: the service refused"})
        EXPECT_NE(result.output.find(text), std::string::npos) << text << result.output;
    EXPECT_EQ(result.output.find("script:12:"), std::string::npos) << result.output;
    EXPECT_TRUE(Exists("camera-actual.png") && Exists("camera-differs.png"));
}

/// What the tour composes on a display, as it is while the display's start is not answered.
TEST_F(PicturesTest, TheTourLooksAsItDid)
{
    EXPECT_EQ(Veskctl("device fault add VO_START no-answer").status, 0);
    const Child tour = Start(VESK_TOUR_PATH);
    EXPECT_TRUE(Eventually(
        [&] { return Veskctl("device fault list").output.find("matched 1") != std::string::npos; }));
    const char* const update = getenv("VESK_UPDATE_GOLDEN") != nullptr ? "--update" : "";
    const Result result = Run("expect-picture 0 " VESK_GOLDEN "/tour.png --size 288x\n", update);
    EXPECT_EQ(result.status, 0) << result.output;
}

TEST_F(PicturesTest, RecordsEachPictureOfATimeThatItMoves)
{
    const Result result =
        Run(kCamera + std::string("device record 0 -o camera.mkv --for 0.5 --rate 10 --size 320x --step\n"
                                  "device time\ndevice screenshot 0 --size 320x -o end.png\n"
                                  "device screenshot 0 --size 320x --at 250 -o first.png\n"));
    EXPECT_NE(result.output.find("camera.mkv: 320x180, 5 pictures, 0.5 s\n750 ms since"), std::string::npos)
        << result.output;
    vesk::pictures::Files files(VESK_MEDIA_PATH);
    std::set<uint64_t> frames;
    for (uint64_t atMs = 50; atMs < 500; atMs += 100) {
        frames.insert(files.At(directory.File("camera.mkv"), atMs).number);
        EXPECT_EQ(frames.count(files.At(directory.File("camera.mkv"), atMs + 500).number), 1U) << atMs;
    }
    EXPECT_EQ(frames.size(), 5U);
    Expect({
        {"device compare end.png first.png", 1, "differ"},
        {"device compare first.png camera.mkv --tolerance 10", 0, "similarity"}, // its first picture
        {"device record 0 -o a.mp4 --for 0.2 --rate 10 --size 63x --step --json", 0,
         R"("file":"a.mp4","width":64,"height":36,"fr":10,"frames":2,"repeated":0,"seconds":0.2\})"},
        {"device record 0 -o a.mp4 --step", 2, "--step needs --for"},
        {"device record 0 -o - --for 1", 2, "not to standard output"},
        {"device record 0 -o a.gif --for 1", 2, "a.gif: expected"},
        {"device record 7 -o b.mp4 --for 1", 3, "NUMBER"},
    });
    EXPECT_FALSE(Exists("b.mp4"));
    EXPECT_EQ(Run("device record 0 -o a.mp4\n").status, 2); // a session has no Ctrl-C of its own
}

TEST_F(PicturesTest, RecordsUntilItIsInterruptedOrTheServiceEnds)
{
    const auto asked = [&] {
        const auto found =
            patterns::AllMatches(Veskctl("device state").output, "CONTROL_SCENE +OK: ([0-9]+)");
        return found.empty() ? 0 : std::stoi(found[0][1]);
    };
    for (const bool isInterrupted : {true, false}) {
        const std::string file = directory.File(isInterrupted ? "one.mkv" : "two.mkv");
        const int before = asked();
        Child recorder =
            Start(VESK_VESKCTL_PATH, "device", "record", "0", "--size", "64x", "-o", file.c_str());
        EXPECT_TRUE(Eventually([&] { return asked() > before + 3; }));
        if (!isInterrupted)
            service.Wait(SIGTERM);
        const int status = recorder.Wait(isInterrupted ? SIGINT : 0);
        if (isInterrupted)
            EXPECT_EQ(status, 0);
        else
            EXPECT_TRUE(status == 4 || status == 1) << status; // there is none, or it ended during a request
        EXPECT_NE(vesk::pictures::Files(VESK_MEDIA_PATH).At(file, 0).picture, nullptr);
    }
    Child running = Start(VESK_SERVICE_PATH);
    running.ExpectOutput("serving");
    Expect(
        {{"device record 0 -o b.mp4 --for 0.2 --step", 3, "moves by itself"},
         {"device record 0 -o c.mp4 --for 0.2 --rate 10 --size 64x", 0, "^c.mp4: 64x36, 2 pictures, 0.2 s"}});
    EXPECT_FALSE(Exists("b.mp4"));
}

TEST(Pictures, TheModuleMayBeMissingOrAnother)
{
    RuntimeDir directory;
    const std::string copy = directory.File("veskctl"), module = directory.File("vesk-video/pictures.so");
    fs::copy_file(VESK_VESKCTL_PATH, copy);
    const auto expect = [&](const std::string& text) {
        const Result result = Shell("LD_LIBRARY_PATH=" VESK_PLATFORM_FOLDER " " VESK_EMULATOR " " + copy +
                                    " device screenshot");
        EXPECT_EQ(result.status, 1);
        EXPECT_NE(result.output.find(text), std::string::npos) << result.output;
    };
    expect("this needs vesk-video/pictures.so, which is neither installed nor built beside " +
           directory.path);
    fs::create_directory(directory.File("vesk-video"));
    std::ofstream(module) << "no module";
    expect(module + ": ");
    fs::copy_file(VESK_TRACER_PATH, module, fs::copy_options::overwrite_existing);
    expect(module + ": is no module of veskctl");
}
