// A test that runs: its cases, clients and messages.
#pragma once

#include "tools/veskctl/check/actor.h"
#include "tools/veskctl/check/lasting.h"
#include "tools/veskctl/check/profile.h"
#include "tools/veskctl/check/recorder.h"
#include "tools/veskctl/check/test.h"
#include "tools/veskctl/progress.h"

#include <functional>
#include <list>
#include <set>

namespace vesk::ctl::check {

/// Ends a case: something is not as expected.
struct Unmet {
    std::string expected;
    std::string got;
    std::optional<uint32_t> refusal{}; ///< See Finding.
};

/// Ends a case that cannot be tried.
struct NotTried {
    std::string reason;
};

/// Ends a test: nobody serves any more, or nobody answers.
struct Gone {};

/// Ends a test and the run: the user has interrupted it.
struct Interrupted {};

/// What was found out of the device before the first test.
struct Survey {
    std::vector<uint32_t> inputs;  ///< Numbers of the ports that tests use; those that are plugged in first.
    std::vector<uint32_t> outputs; ///< Likewise.
    size_t pluggedInputs = 0;      ///< So many at the beginning are plugged in.
    size_t pluggedOutputs = 0;
    std::optional<uint32_t> camera; ///< An input port that can be moved and has presets.
    uint32_t newPreset = 1;         ///< A preset that the camera does not have.
    bool isVirtual = false;         ///< The service is the virtual one, which can be steered.
};

/// What all tests of a run share.
struct Bench {
    Settings& settings;
    const Profile& profile;
    bool isQuick = false;
    bool mayBeNoticed = false;  ///< By people; nothing that the virtual service does is.
    std::string restartCommand; ///< Empty: the service cannot be restarted.
    std::optional<Recorder> recorder;
    Lasting lasting{};
    Survey survey{};
    bool isPuttingBack = false;          ///< The user must wait.
    std::set<std::string> unavailable{}; ///< Things that were waited for in vain.
    std::vector<std::string> putBack{};  ///< The requests that did so at the end of the last case.
    Progress* progress = nullptr;        ///< Of the test that runs.
};

inline bool AnyRequest(const messages::Request&)
{
    return true;
}

/// Repeats after growing pauses what is false so far. Returns false if it stays so for too long.
bool Becomes(std::chrono::milliseconds longest, const std::function<bool()>& isTrue);

class Trial {
public:
    Trial(Bench& bench, const Test& test);

    /// Runs the test, to its end unless the user interrupts it.
    TestResult Run();

    /// Runs one case of the test. It ends early if something is not as expected or cannot be tried; other
    /// cases go on. Its clients end with it. Outside of cases the test itself is one.
    void Case(const std::string& subject, const std::function<void()>& body);

    /// A case for each request that the device has, that has an answer, and that the test concerns.
    using Concerns = std::function<bool(const messages::Request&)>;
    void EachRequest(const Concerns& concerns, const std::function<void(const messages::Request&)>& body);

    // In a case

    /// A client that has announced itself.
    Actor& NewClient();
    /// A process that has not.
    Actor& NewProcess(const std::string& name = "");
    /// Ends a client before its case ends.
    void Leave(Actor& actor);

    /// @throw Unmet unless it @p holds
    void Expect(bool holds, const std::string& expected, const std::string& got);
    /// It must succeed, with an answer of the listed form.
    void ExpectOk(const Reply& reply);
    /// The service must refuse it, with whatever code.
    void ExpectRefused(const Reply& reply, const std::string& why);
    /// Something that a device should do, but need not.
    void Advise(bool holds, const std::string& expected, const std::string& got);
    /// What is sent meanwhile is in no report.
    void Quietly(const std::function<void()>& body);
    /// False for requests to a camera if the device has none, and for a start if nothing is plugged in.
    bool CanBeTried(const messages::Request& request) const;
    [[noreturn]] void Skip(const std::string& reason) { throw NotTried{reason}; }

    Bench& TheBench() { return bench_; }
    const Profile& TheProfile() const { return bench_.profile; }
    const Survey& TheSurvey() const { return bench_.survey; }
    const decoder::Decoder& Decoder() { return bench_.settings.Decoder(); }
    /// How long what has to come is waited for: not as long once the test has found something.
    std::chrono::milliseconds Patience(std::chrono::milliseconds longest) const
    {
        return result_.findings.empty() ? longest : longest / 20;
    }
    bool IsQuick() const { return bench_.isQuick; }

    /// From now on the user's signals end the run, which puts everything back before it ends.
    static void ListenForInterrupts();
    void ThrowIfInterrupted() const;

    // What actors tell
    void Sent(const Actor& actor, const Reply& reply, uint32_t number, BytesView data);
    void Received(const Actor& actor, const Notified& notified);
    /// Says in the report what has been done that is no message: "client 2 is killed".
    void Note(const Actor& actor, const std::string& what);

private:
    struct Logged {
        std::string client; ///< Its title, as it may have left.
        std::string text;   ///< Of a note.
        std::optional<Reply> reply{};
        Bytes data{}; ///< Of the request.
        std::optional<Notified> notified{};
    };

    void Attempt(const std::string& subject, const std::function<void()>& body);
    void Log(Logged&& logged);
    void ShowProgress() const;
    void Report(const Unmet& unmet, bool isWarning = false);
    std::vector<std::string> Messages();
    std::vector<std::string> Script();
    std::string TitleOf(const Actor* actor) const;
    /// The request that the actor's process sends by itself when it ends.
    void RecordExit(const Actor& actor);
    void EndActors();
    void EndCase();

    Bench& bench_;
    TestResult result_;
    std::string subject_;
    bool isQuiet_ = false;
    bool isWhole_ = true; ///< The test has no cases so far: it is one.
    std::list<Actor> actors_;
    std::deque<Logged> log_;
    std::vector<std::pair<const Actor*, std::string>> names_; ///< Of all clients in the log.
};

} // namespace vesk::ctl::check
