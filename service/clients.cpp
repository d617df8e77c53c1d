// The clients that have announced themselves, and their notifications.
#include "service/clients.h"

#include "base/envelope.h"
#include "service/log.h"
#include "vesk_host/message.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <sstream>

namespace vesk::service {

namespace {

/// The text of a regular file of the runtime directory that is not too long. Of any other file it is empty,
/// and the reason is logged.
std::string ReadFile(const std::string& name)
{
    constexpr size_t kMost = 1U << 14U;
    std::array<char, kMost + 1> text;
    size_t length = 0;
    const int directory = HostMsgOpenRuntimeDir();
    if (directory < 0)
        return {};
    const int file = openat(directory, name.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    const int error = errno;
    close(directory);
    if (file < 0 && error == ENOENT)
        return {};
    struct stat status {};
    const char* problem = nullptr;
    if (file < 0) {
        problem = strerror(error);
    } else if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
        problem = "it is no regular file";
    } else {
        ssize_t got = 0;
        while (length < text.size() && (got = read(file, &text[length], text.size() - length)) > 0)
            length += static_cast<size_t>(got);
        problem = got < 0 ? strerror(errno) : length > kMost ? "it is too long" : nullptr;
    }
    if (file >= 0)
        close(file);
    if (problem != nullptr)
        LOG(kError, "%s is ignored: %s", name.c_str(), problem);
    return problem == nullptr ? std::string(text.data(), length) : std::string();
}

/// Replaces a file of the runtime directory atomically. Returns the errno of what failed, or 0.
int WriteFile(const std::string& name, const std::string& text)
{
    const std::string draft = name + ".new";
    const int directory = HostMsgOpenRuntimeDir();
    if (directory < 0)
        return ENOENT;                     // the reason has been logged
    unlinkat(directory, draft.c_str(), 0); // whatever is there
    const int file = openat(directory, draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    const ssize_t written = file < 0 ? -1 : write(file, text.data(), text.size());
    int error = written < 0 ? errno : written != static_cast<ssize_t>(text.size()) ? ENOSPC : 0;
    if (error == 0 && renameat(directory, draft.c_str(), directory, name.c_str()) != 0)
        error = errno;
    if (file >= 0)
        close(file);
    close(directory);
    return error;
}

} // namespace

bool IsClientName(std::string_view name)
{
    return !name.empty() && name.size() < VESK_VIDEO_NAME_SIZE && IsPrintable(name);
}

std::string Clients::FileName() const
{
    std::string name = self_.procName + '.' + self_.taskName + ".clients";
    std::replace(name.begin(), name.end(), '/', '_');
    return name;
}

void Clients::Restore()
try {
    std::istringstream lines(ReadFile(FileName()));
    for (std::string line; clients_.size() < kMost && std::getline(lines, line);) {
        std::istringstream fields(line);
        Client client{};
        std::string procName;
        if (!std::getline(fields, procName, '\t') || !std::getline(fields, client.taskName, '\t') ||
            !(fields >> client.process) || !IsClientName(procName) || !IsClientName(client.taskName))
            continue;
        if (client.process != 0 && client.IsAlive())
            clients_[procName] = client;
    }
} catch (const std::exception& error) {
    LOG(kError, "the clients cannot be read: %s", error.what());
}

void Clients::Save()
try {
    std::ostringstream text;
    for (const auto& [procName, client] : clients_)
        text << procName << '\t' << client.taskName << '\t' << client.process << '\n';
    const std::string name = FileName();
    const int error = WriteFile(name, text.str());
    if (std::exchange(isSaved_, error == 0) && error != 0)
        LOG(kError, "%s cannot be written: %s", name.c_str(), strerror(error));
} catch (const std::exception& error) {
    LOG(kError, "the clients cannot be written: %s", error.what());
}

Result Clients::Add(const std::string& procName, const std::string& taskName, HostProcess process)
{
    const auto known = clients_.find(procName);
    if (known != clients_.end() && known->second.process != process && known->second.IsAlive()) {
        LOG(kError, "%s.%s is already served by process %u; process %u receives no notifications",
            procName.c_str(), taskName.c_str(), HostProcessNumber(known->second.process),
            HostProcessNumber(process));
        return VESK_SERVICE_ERR_BUSY;
    }
    Client client{taskName, process};
    if (known != clients_.end() && known->second.process == process) { // it goes on when it comes again
        client = known->second;
        client.taskName = taskName;
    }
    if (clients_.size() >= kMost)
        std::erase_if(clients_, [](const auto& entry) { return !entry.second.IsAlive(); });
    const auto isOwn = [process](const auto& entry) { return entry.second.process == process; };
    const long own = std::count_if(clients_.begin(), clients_.end(), isOwn);
    if ((own >= kMostOfAProcess || clients_.size() >= kMost) && !IsKnown(procName)) {
        LOG(kError, "%s of process %u is refused as a client: the process has %ld names, the service %zu",
            procName.c_str(), HostProcessNumber(process), own, clients_.size());
        return VESK_SERVICE_ERR_ROOM;
    }
    clients_.insert_or_assign(procName, std::move(client));
    Save();
    return kOk;
}

void Clients::Remove(const std::string& procName, HostProcess process)
{
    const auto known = clients_.find(procName);
    if (known == clients_.end() || known->second.process != process)
        return;
    clients_.erase(known);
    Save();
}

Result Clients::SetCallback(const std::string& procName, HostProcess process,
                            const VeskVideoCallbackInfo& info)
{
    const auto known = clients_.find(procName);
    if (known == clients_.end() || known->second.process != process)
        return VESK_SERVICE_ERR_STATE;
    known->second.callback = info;
    return kOk;
}

void Clients::ForgetCallbacks()
{
    for (auto& [procName, client] : clients_)
        client.callback.reset();
}

void Clients::Forget(HostProcess process)
{
    if (std::erase_if(clients_, [process](const auto& entry) { return entry.second.process == process; }) !=
        0)
        Save();
}

HostProcess Clients::ProcessOf(const std::string& procName) const
{
    const auto known = clients_.find(procName);
    return known != clients_.end() ? known->second.process : 0;
}

std::vector<std::string> Clients::Names() const
{
    std::vector<std::string> names;
    for (const auto& [procName, client] : clients_)
        names.push_back(procName);
    return names;
}

void Clients::Drop(const std::string& procName, uint32_t notifyId, std::span<const std::byte> data)
{
    const auto known = clients_.find(procName);
    if (known == clients_.end())
        return;
    Client& client = known->second;
    ++client.dropped;
    watchers_.Notified(VESK_CONTROL_SAW_DROPPED, {procName, client.taskName, client.process}, notifyId, 0,
                       data);
}

uint32_t Clients::Send(const std::string& procName, uint32_t notifyId, std::span<const std::byte> data)
{
    const auto client = clients_.find(procName);
    if (client == clients_.end())
        return HOST_MSG_ERR_ABSENT;
    OsMsgEnvelope envelope =
        MakeEnvelope(notifyId, {self_.procName, self_.taskName}, {procName, client->second.taskName}, data);
    const uint32_t ret = OsMsgAsynSend(&envelope);
    ++(ret == 0 ? client->second.sent : client->second.dropped);
    LOG(kInfo, "notification %u to %s: %u", notifyId, procName.c_str(), ret);
    watchers_.Notified(VESK_CONTROL_SAW_NOTIFICATION,
                       {procName, client->second.taskName, client->second.process}, notifyId, ret, data);
    if (ret == HOST_MSG_ERR_ABSENT && !client->second.IsAlive()) {
        clients_.erase(client);
        Save();
    }
    return ret;
}

} // namespace vesk::service
