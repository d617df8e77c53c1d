// vesk-media: reads and writes pictures and videos for other programs.
#include "base/text.h"
#include "pictures/media/confine.h"
#include "pictures/media/reader.h"

#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string_view>

namespace {

using namespace vesk::pictures;
using namespace vesk::pictures::media;

/// Answers orders until who gives them has gone.
void Serve(const std::function<Answer(const Order&)>& answerTo)
{
    Order order{};
    while (recv(kSocket, &order, sizeof order, 0) == sizeof order) {
        Answer answer{};
        ForgetMessages();
        try {
            answer = answerTo(order);
        } catch (const std::bad_alloc&) {
            vesk::PutText(answer.problem, "needs too much memory");
        } catch (const std::exception& error) {
            vesk::PutText(answer.problem, error.what());
        }
        if (send(kSocket, &answer, sizeof answer, MSG_NOSIGNAL) != sizeof answer)
            return;
    }
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

int Usage()
{
    std::fputs("vesk-media: is started by programs that read or write pictures and videos\n", stderr);
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    KeepMessages();
    const std::string_view task = argc > 1 ? argv[1] : "";
    if (task == "read" && argc == 2) {
        std::byte* const memory = MemoryFor({kMostSide, kMostSide});
        if (memory == nullptr)
            return Usage();
        Confine();
        Reader reader(kFile, memory);
        Serve([&](const Order& order) { return reader.Read(order); });
        _exit(0); // what a file may have broken is not taken apart
    }
    return Usage();
}
