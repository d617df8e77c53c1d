// The layouts of records, read from their description as text.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vesk::decoder {

struct RecordType;

/// What one element of a field holds.
enum class ElementKind { kUnsigned, kSigned, kFloat, kText, kRecord };

/// One field of a record.
struct RecordField {
    std::string type; ///< C type of an element, as described.
    std::string name;
    size_t offset = 0;
    size_t size = 0;  ///< Bytes of all elements.
    size_t count = 1; ///< Elements. A char array is one element of kind kText.
    bool isArray = false;
    ElementKind kind = ElementKind::kUnsigned;
    bool isOpaque = false;              ///< An array that is shown as bytes.
    bool isHandle = false;              ///< A number that is shown in hexadecimal.
    bool isFiller = false;              ///< Padding, reserved or opaque; not worth showing while it is 0.
    const RecordType* record = nullptr; ///< Set if the kind is kRecord.

    size_t ElementSize() const { return size / count; }
};

/// A record and its fields in the order of their offsets. Fields cover the whole record without overlapping,
/// unless a description says otherwise; bytes that no field describes are opaque fields named after their
/// offset: "bytes12".
struct RecordType {
    std::string name;
    size_t size = 0;
    std::vector<RecordField> fields;
};

/**
 * All known records. A description has a line for each record and for each field, as abi/records.txt does;
 * "#" begins a comment. A record can be shown as another one that describes its contents, and so can a
 * payload:
 *
 *     VeskVideoBoundaryState has 8 bytes
 *     VeskVideoBoundaryState: uint32_t serviceData[2] at 0, 8 bytes
 *     VeskVideoBoundaryState shown as MyBoundary
 *     VESK_VIDEO_ON_NOTIFY_104 payload shown as MyEvent
 *     VESK_VIDEO_MSG_CAMERA_CONTROL answer shown as MyCameraState
 *
 * A record that a later description repeats is replaced; its size must stay.
 */
class RecordSet {
public:
    RecordSet() = default;
    RecordSet(const RecordSet&) = delete; // fields point to records
    RecordSet& operator=(const RecordSet&) = delete;

    /// Adds a description; @p source names it in errors. @throw Error
    void Read(std::string_view text, const std::string& source);

    /// The record of this name; null if there is none.
    const RecordType* Find(std::string_view name) const;

    /// The record as which @p name is shown, itself if nothing else is said; null if there is none. Also
    /// takes "VESK_VIDEO_ON_NOTIFY_104 payload" and "VESK_VIDEO_MSG_CAMERA_CONTROL answer".
    const RecordType* Shown(std::string_view name) const;

    const std::map<std::string, RecordType, std::less<>>& All() const { return records_; }

private:
    class Description;

    std::map<std::string, RecordType, std::less<>> records_;
    std::map<std::string, std::string, std::less<>> shownAs_;
};

} // namespace vesk::decoder
