// JSON text to a document, with syntax errors as file:line:column.
#pragma once
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace cli {

// Bad input: the text is the whole one-line message for stderr.
struct InputError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

nlohmann::json ParseJson(const std::string& text, const std::string& fileName);
// The whole file, or InputError naming it.
std::string ReadFile(const std::string& fileName);

}  // namespace cli
