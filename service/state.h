// The whole state of the virtual service as a JSON document.
#pragma once

#include "service/request.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <string>

namespace vesk::decoder {
class Decoder;
}

namespace vesk::service {

class Service;

/**
 * A document as text of at most @p most bytes. If it is longer, the longest of its lists are cut, and "cut"
 * says how many entries they had. Bytes that are not UTF-8 are replaced.
 */
std::string BoundedText(nlohmann::ordered_json document, size_t most);

/**
 * Describes what the service holds: an object with a section for each kind of thing. Numbers and arguments
 * have their names of the list of messages, records the fields that the decoder gives them; records that hold
 * zeros alone are left out.
 */
class State {
public:
    explicit State(Service& service);
    ~State();

    Result Get(Bytes* document);

private:
    nlohmann::ordered_json Describe();
    nlohmann::ordered_json DescribeTime();
    nlohmann::ordered_json DescribeInputs();
    nlohmann::ordered_json DescribeInputEngines();
    nlohmann::ordered_json DescribeOutputs();
    nlohmann::ordered_json DescribeOutputEngines();
    nlohmann::ordered_json DescribeDisplay();
    nlohmann::ordered_json DescribeFilterWindows();
    nlohmann::ordered_json DescribeEncoders();
    nlohmann::ordered_json DescribeDecoders();
    nlohmann::ordered_json DescribeLoops();
    nlohmann::ordered_json DescribeOverlays();
    nlohmann::ordered_json DescribeRemoteMice();
    nlohmann::ordered_json DescribeLocalMice();
    nlohmann::ordered_json DescribeUvcStreams();
    nlohmann::ordered_json DescribeQueues();
    nlohmann::ordered_json DescribeJobs();
    nlohmann::ordered_json DescribeClients();
    nlohmann::ordered_json DescribeRequests();
    nlohmann::ordered_json DescribeFaults();
    nlohmann::ordered_json DescribeScenario();
    nlohmann::ordered_json DescribeWatchers();

    const decoder::Decoder& TheDecoder();
    /// The fields of a request's payload.
    template <uint32_t request, class Record>
    nlohmann::ordered_json FieldsOf(const Record& record);
    /// Adds them as a member of an entry, unless they are all 0.
    template <uint32_t request, class Record>
    void Put(nlohmann::ordered_json& entry, const char* name, const Record& record);

    Service& service_;
    std::unique_ptr<const decoder::Decoder> decoder_; ///< Made when it is first needed.
};

} // namespace vesk::service
