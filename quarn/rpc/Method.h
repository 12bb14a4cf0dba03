#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include <nlohmann/json_fwd.hpp>

#include "QuarnPlatform/json/JSONDecoder.h"
#include "quarn/rpc/Transport.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {

struct Services;

/// The context of a handler's call.
struct MethodContext {
  const Services& services;
  const RequestContext& request;
};

/// A named param of a method.
struct ParamRow {
  std::string_view name;
  std::string (*type)() = nullptr;  ///< name of its type; ends in "?" if optional
};

/// A method of the interface: its name, its params in order, and its handler. The conversions are derived from the
/// handler's signature, so description, validation and call always agree.
struct MethodRow {
  static constexpr std::size_t kMostParams = 9;

  std::string_view name;
  std::array<ParamRow, kMostParams> paramRows;
  std::size_t paramCount = 0;
  std::string (*resultType)() = nullptr;
  std::string (*progressType)() = nullptr;  ///< type of its progress values; null for none
  /// Decodes the params, calls the handler and encodes its result as JSON text. Throws DecodingError and whatever the
  /// handler throws.
  void (*invoke)(const MethodRow& row, const MethodContext& context, const JSONDecoder& params,
                 std::string& result) = nullptr;

  [[nodiscard]] constexpr std::span<const ParamRow> params() const { return {paramRows.data(), paramCount}; }
};

/// How to call a handler from JSON. A handler is a function (const MethodContext&, params...) -> result.
template <class Function>
struct HandlerTraits;

template <class Result, class... Params>
struct HandlerTraits<Result (*)(const MethodContext&, Params...)> {
  static constexpr std::size_t kParamCount = sizeof...(Params);
  static constexpr std::array<std::string (*)(), kParamCount> kTypes{&typeName<std::remove_cvref_t<Params>>...};
  static constexpr auto kResultType = &typeName<Result>;

  template <Result (*handler)(const MethodContext&, Params...)>
  static void invoke(const MethodRow& row, const MethodContext& context, const JSONDecoder& params,
                     std::string& result) {
    invoke<handler>(row, context, params, result, std::index_sequence_for<Params...>());
  }

 private:
  template <Result (*handler)(const MethodContext&, Params...), std::size_t... index>
  static void invoke(const MethodRow& row, const MethodContext& context, [[maybe_unused]] const JSONDecoder& params,
                     std::string& result, std::index_sequence<index...> /*indices*/) {
    // Braces fix the order of evaluation, so the error names the first faulty param.
    const std::tuple<std::remove_cvref_t<Params>...> values{
        fromJSON<std::remove_cvref_t<Params>>(params.member(row.paramRows[index].name))...};
    result = jsonText<Result>(handler(context, std::get<index>(values)...));
  }
};

/// Makes the row for a handler; the names are those of its params, in order.
template <auto handler, class... Names>
constexpr MethodRow method(std::string_view name, Names... paramNames) {
  using Traits = HandlerTraits<decltype(handler)>;
  static_assert(sizeof...(Names) == Traits::kParamCount, "one name a param");
  static_assert(sizeof...(Names) <= MethodRow::kMostParams);
  MethodRow row{.name = name, .paramRows = {ParamRow{paramNames}...}, .paramCount = sizeof...(Names)};
  for (std::size_t index = 0; index < Traits::kParamCount; ++index) row.paramRows[index].type = Traits::kTypes[index];
  row.resultType = Traits::kResultType;
  row.invoke = &Traits::template invoke<handler>;
  return row;
}

/// The last param of the methods that can report progress.
inline constexpr ParamRow kProgressParam{.name = "progress", .type = &typeName<std::optional<bool>>};

/// The same for a handler that reports progress values of type `Progress`. Clients ask for them with `kProgressParam`;
/// without it, the handler's `context.request.report` is null.
template <auto handler, class Progress, class... Names>
constexpr MethodRow methodWithProgress(std::string_view name, Names... paramNames) {
  MethodRow row = method<handler>(name, paramNames...);
  row.progressType = &typeName<Progress>;
  const bool hasParam = row.paramCount > 0 && row.paramRows[row.paramCount - 1].name == kProgressParam.name;
  if (!hasParam) row.paramRows[row.paramCount++] = kProgressParam;
  return row;
}

}  // namespace quarn
