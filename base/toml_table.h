// Tables of TOML files, and the words for what is wrong in them.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesk {

class TomlTable;

/// A value in a file. What is not as expected is refused by an Error that says where it is.
class TomlValue {
public:
    bool IsArray() const;
    bool IsText() const;

    std::string Text(const std::string& expected) const;
    bool Flag() const;
    int64_t Integer(int64_t least, int64_t most) const;
    /// With a fraction or without.
    double Number(double least, double most, const std::string& expected) const;
    std::vector<TomlValue> Entries() const;
    TomlTable Table() const;

    /// Throws Error, "FILE:LINE: KEY: expected EXPECTED, not VALUE" and @p andThen.
    [[noreturn]] void Refuse(const std::string& expected, const char* andThen = "") const;
    /// Throws Error, "FILE:LINE: KEY: WHAT".
    [[noreturn]] void Fail(const std::string& what) const;

protected:
    struct Node;
    explicit TomlValue(Node node);

    std::shared_ptr<const Node> node_;
};

/// A table, which knows the keys that it was asked for.
class TomlTable : public TomlValue {
public:
    /// @param file  Names the text in errors. @throw Error
    TomlTable(std::string_view text, const std::string& file);
    explicit TomlTable(const TomlValue& table) : TomlValue(table) {}

    std::vector<std::string> Keys() const;

    std::optional<TomlValue> Find(const std::string& key);
    /// Refuses a table without the key.
    TomlValue Need(const std::string& key, const std::string& expected);

    /// Refuses a key that was not asked for.
    void End() const;
    /// Refuses a key that is none of these.
    void AllowOnly(std::initializer_list<const char*> keys);

private:
    std::vector<std::string> keys_; // that were asked for
};

/// "0 to 15", as errors have it.
std::string RangeText(int64_t least, int64_t most);

} // namespace vesk
