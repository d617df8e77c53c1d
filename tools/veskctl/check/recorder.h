// The recording of a run: what each of its clients sent and got.
#pragma once

#include "tools/recording/output.h"
#include "tools/veskctl/check/actor.h"

namespace vesk::ctl::check {

class Recorder {
public:
    /// @throw Error if the file cannot be written
    Recorder(const std::string& file, const ServiceName& service);

    void Request(const Actor& actor, uint32_t number, BytesView data, const Reply& reply);
    void Notification(const Actor& actor, const Arrived& arrived);

private:
    recording::Event Begin(const Actor& actor, uint32_t number, BytesView data) const;

    recording::Output output_;
    ServiceName service_;
    uint64_t exchange_ = 0;
};

} // namespace vesk::ctl::check
