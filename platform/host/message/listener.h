// A socket on which a task is served under one process name.
#pragma once

#include "message/endpoint.h"
#include "message/inbox.h"

#include <memory>
#include <string>

namespace vesk::host {

class Listener : public Watched {
public:
    Listener(ServedEndpoint served, std::string endpoint, std::shared_ptr<Inbox> inbox);

    /// Has the inbox of @p listener watch it. False, after logging the reason, when that fails.
    static bool Start(const std::shared_ptr<Listener>& listener);

    void OnReady(uint32_t events) override;
    void Close() override;

private:
    bool Accept();
    bool Receive();

    ServedEndpoint served_; // this and the rest are guarded by the inbox's lock
    uint64_t number_ = 0;   // of the inbox
    const std::string endpoint_;
    const std::shared_ptr<Inbox> inbox_;
    UniqueFd accepted_;      // a connection that is not watched yet
    bool isWaiting_ = false; // a connection, which has been logged
};

} // namespace vesk::host
