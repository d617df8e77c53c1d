// The clients that have announced themselves, and their notifications.
#include "service/clients.h"

#include "service/log.h"
#include "service/process.h"
#include "vesk_host/message.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>

namespace vesk::service {

namespace {

void PutName(char (&field)[VESK_VIDEO_NAME_SIZE], const std::string& name)
{
    std::memcpy(field, name.data(), std::min(name.size(), sizeof field));
}

std::string ReadFile(int directory, const std::string& name)
{
    std::string text;
    const int file = openat(directory, name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    char buffer[4096];
    ssize_t got = 0;
    while (file >= 0 && (got = read(file, buffer, sizeof buffer)) > 0)
        text.append(buffer, static_cast<size_t>(got));
    if (file >= 0)
        close(file);
    return text;
}

/// Replaces a file atomically.
bool WriteFile(int directory, const std::string& name, const std::string& text)
{
    const std::string draft = name + ".new";
    const int file =
        openat(directory, draft.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600);
    const bool written =
        file >= 0 && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (file >= 0)
        close(file);
    return written && renameat(directory, draft.c_str(), directory, name.c_str()) == 0;
}

} // namespace

std::string Clients::FileName() const
{
    std::string name = self_.procName + '.' + self_.taskName + ".clients";
    std::replace(name.begin(), name.end(), '/', '_');
    return name;
}

void Clients::Restore()
{
    const int directory = HostMsgOpenRuntimeDir();
    if (directory < 0)
        return;
    std::istringstream lines(ReadFile(directory, FileName()));
    close(directory);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        Client client{};
        std::string procName;
        if (std::getline(fields, procName, '\t') && std::getline(fields, client.taskName, '\t') &&
            fields >> client.process && IsAlive(client.process))
            clients_[procName] = client;
    }
}

void Clients::Save() const
{
    std::ostringstream text;
    for (const auto& [procName, client] : clients_)
        text << procName << '\t' << client.taskName << '\t' << client.process << '\n';
    const int directory = HostMsgOpenRuntimeDir();
    if (directory < 0)
        return;
    if (!WriteFile(directory, FileName(), text.str()))
        LOG(kError, "%s cannot be written: %s", FileName().c_str(), strerror(errno));
    close(directory);
}

Result Clients::Add(const std::string& procName, const std::string& taskName, pid_t process)
{
    constexpr size_t kMost = 256;
    if (clients_.size() >= kMost)
        std::erase_if(clients_, [](const auto& entry) { return !IsAlive(entry.second.process); });
    if (clients_.size() >= kMost && !IsKnown(procName))
        return VESK_SERVICE_ERR_ROOM;
    clients_[procName] = {taskName, process};
    Save();
    return kOk;
}

void Clients::Remove(const std::string& procName)
{
    if (clients_.erase(procName) != 0)
        Save();
}

void Clients::Notify(const Notification& notification)
{
    const auto client = clients_.find(notification.procName);
    if (client == clients_.end())
        return;
    VeskVideoMsgHead head{};
    head.msgId = static_cast<uint16_t>(notification.notifyId);
    head.ulParam1 = notification.param1;
    head.ulParam2 = notification.param2;
    const auto headBytes = std::as_bytes(std::span(&head, 1));
    Bytes data(headBytes.begin(), headBytes.end());
    data.insert(data.end(), notification.payload.begin(), notification.payload.end());

    OsMsgEnvelope envelope{};
    envelope.msgId = notification.notifyId;
    PutName(envelope.sendProcName, self_.procName);
    PutName(envelope.sendTaskName, self_.taskName);
    PutName(envelope.recvProcName, client->first);
    PutName(envelope.recvTaskName, client->second.taskName);
    envelope.dataLen = static_cast<uint32_t>(data.size());
    envelope.data = data.data();
    const uint32_t ret = OsMsgAsynSend(&envelope);
    LOG(kInfo, "notification %u to %s: %u", notification.notifyId, client->first.c_str(), ret);
    if (ret == HOST_MSG_ERR_ABSENT && !IsAlive(client->second.process))
        Remove(notification.procName);
}

void Clients::NotifyAll(uint32_t notifyId)
{
    for (const auto& [procName, client] : std::map(clients_))
        Notify({.procName = procName, .notifyId = notifyId, .payload = {}});
}

} // namespace vesk::service
