// The whole state of the virtual service as a JSON document.
#pragma once

#include "service/request.h"

#include <nlohmann/json_fwd.hpp>

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

/// The process that a thing belongs to.
nlohmann::ordered_json Owner(const Sender& owner);

/// Answers with a document; VESK_SERVICE_ERR_ROOM if it cannot be cut to fit into a message.
Result GiveDocument(nlohmann::ordered_json document, Bytes* answer);

/**
 * Describes what the service holds: an object with a section for each kind of thing. Numbers and arguments
 * have their names of the list of messages, records the fields that the decoder gives them; records that hold
 * zeros alone are left out, unless that differs from none.
 */
class State {
public:
    explicit State(Service& service);
    ~State();

    Result Get(Bytes* document);

private:
    Service& service_;
    std::unique_ptr<const decoder::Decoder> decoder_; ///< Made when it is first needed.
};

} // namespace vesk::service
