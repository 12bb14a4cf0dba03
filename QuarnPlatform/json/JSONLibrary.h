#pragma once

/// The one door to the JSON library's whole header. Its two kinds of value are instantiated once, in JSONLibrary.cpp,
/// and not anew in every file that handles them. Headers that only name a value include <nlohmann/json_fwd.hpp>.

#include <nlohmann/json.hpp>

extern template class nlohmann::basic_json<>;
extern template class nlohmann::basic_json<nlohmann::ordered_map>;
