#pragma once

/// The only file that includes the whole JSON library. Its two kinds of values are instantiated once, in
/// JSONLibrary.cpp, to save compile time. Headers that only name a value include <nlohmann/json_fwd.hpp>.

#include <nlohmann/json.hpp>

extern template class nlohmann::basic_json<>;
extern template class nlohmann::basic_json<nlohmann::ordered_map>;
