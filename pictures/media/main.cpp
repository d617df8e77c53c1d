// vesk-media: reads and writes pictures and videos for other programs.
#include "base/error.h"
#include "base/text.h"
#include "pictures/media/confine.h"
#include "pictures/media/reader.h"
#include "pictures/media/writer.h"

#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <csignal>
#include <cstdio>
#include <functional>
#include <new>
#include <optional>
#include <span>
#include <string_view>

namespace {

using namespace vesk::pictures;
using namespace vesk::pictures::media;

/// Answers to an order; without one, nobody is there any more.
void Tell(const Answer& answer)
{
    if (send(kSocket, &answer, sizeof answer, MSG_NOSIGNAL) != sizeof answer)
        _exit(1);
}

/// Carries out orders until who gives them has gone.
void Serve(const std::function<void(const Order&)>& carryOut)
{
    Order order{};
    while (recv(kSocket, &order, sizeof order, 0) == sizeof order) {
        Answer answer{};
        ForgetMessages();
        try {
            carryOut(order);
            continue;
        } catch (const std::bad_alloc&) {
            vesk::PutText(answer.problem, "needs too much memory");
        } catch (const std::exception& error) {
            vesk::PutText(answer.problem, error.what());
        }
        Tell(answer);
    }
}

void ServeReading(std::byte* memory)
{
    Confine();
    Reader reader(kFile, memory);
    Serve([&](const Order& order) { Tell(reader.Read(order)); });
    _exit(0); // what a file may have broken is not taken apart
}

/// A problem that a picture has after it was taken is told instead of the next answer.
void ServeWriting(const std::byte* memory, const std::string& container, Size size, int framesPerSecond)
{
    std::signal(SIGPIPE, SIG_IGN); // it is a problem like others
    std::optional<Writer> writer;
    std::string problem;
    Serve([&](const Order& order) {
        if (!problem.empty())
            throw vesk::Error(problem);
        if (order.task == Task::kBegin)
            writer.emplace(kFile, memory, container, size, framesPerSecond);
        if (!writer)
            throw vesk::Error("has not begun");
        if (order.task != Task::kPicture) {
            if (order.task == Task::kEnd)
                writer->End();
            return Tell({});
        }
        bool isTaken = false;
        try {
            writer->Add([&] {
                Tell({});
                isTaken = true;
            });
        } catch (const std::exception& error) {
            if (!isTaken)
                throw;
            problem = error.what();
        }
    });
}

/// The memory for pixels; null if there is none that is large enough.
std::byte* MemoryFor(Size size)
{
    struct stat memory {};
    if (fstat(kPixels, &memory) != 0 || memory.st_size < static_cast<off_t>(PictureBytes(size)))
        return nullptr;
    void* const mapped = mmap(nullptr, PictureBytes(size), PROT_READ | PROT_WRITE, MAP_SHARED, kPixels, 0);
    return mapped == MAP_FAILED ? nullptr : static_cast<std::byte*>(mapped);
}

/// A number of the command line; 0 if it is none.
uint32_t Number(std::string_view text)
{
    uint32_t number = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
    return end.ptr == text.data() + text.size() ? number : 0;
}

int Run(std::span<char* const> words)
{
    const std::string_view task = words.empty() ? "" : words[0];
    if (task == "read" && words.size() == 1) {
        if (std::byte* const memory = MemoryFor({kMostSide, kMostSide}))
            ServeReading(memory);
    }
    if (task == "write" && words.size() == 5) {
        const Size size{Number(words[2]), Number(words[3])};
        const bool isSize = !size.IsEmpty() && size.width <= kMostSide && size.height <= kMostSide;
        const std::byte* const memory = isSize ? MemoryFor(size) : nullptr;
        if (memory != nullptr) {
            ServeWriting(memory, words[1], size, static_cast<int>(Number(words[4])));
            return 0;
        }
    }
    std::fputs("vesk-media: is started by programs that read or write pictures and videos\n", stderr);
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    KeepMessages();
    return Run(std::span<char* const>(argv, static_cast<size_t>(argc)).subspan(1));
}
