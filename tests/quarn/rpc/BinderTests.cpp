#include <gmock/gmock.h>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/Artifact.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Binder.h"
#include "quarn/services/Services.h"
#include "tests/support/MacVolume.h"

namespace quarn::binder_tests {
namespace {

using nlohmann::ordered_json;
using testing::HasSubstr;

// ---- methods of the tests' own

std::string greet(const MethodContext& /*context*/, const std::string& name, const std::optional<bool>& loudly) {
  return "hello " + name + (loudly.value_or(false) ? "!" : "");
}

std::int64_t home(const MethodContext& context) {
  return static_cast<std::int64_t>(context.services.files.homeDirectory().path().size());
}

std::vector<FileURL> urls(const MethodContext& /*context*/, const std::vector<Artifact>& artifacts,
                          const AppEntity& app) {
  std::vector<FileURL> all{app.bundleURL};
  for (const Artifact& artifact : artifacts) all.insert(all.end(), artifact.urls.begin(), artifact.urls.end());
  return all;
}

bool failToList(const MethodContext& /*context*/) { throw FileError(EACCES, "list", "/Users/ann/\xFF"); }

bool refuseParam(const MethodContext& /*context*/, const std::string& /*name*/) {
  throw DecodingError("name", "nobody's name");
}

bool cancelled(const MethodContext& context) { return context.request.cancellation.isCancelled(); }

constexpr std::array kMethods{
    method<&greet>("Test.greet", "name", "loudly"),   method<&home>("Test.home"),
    method<&urls>("Test.urls", "artifacts", "app"),   method<&failToList>("Test.failToList"),
    method<&refuseParam>("Test.refuseParam", "name"), method<&cancelled>("Test.cancelled"),
};

class BinderTest : public testing::Test {
 protected:
  ordered_json call(const std::string& name, std::string_view params) {
    const JSONDocument document = *JSONDocument::parse(params);
    const JSONValue value = document.root();
    return ordered_json::parse(binder_.call(name, &value, context_).text);
  }

  /// The error of a call that must fail.
  RPCError errorOf(const std::string& name, std::string_view params) {
    try {
      ADD_FAILURE() << "no error, but " << call(name, params).dump();
    } catch (const RPCError& error) {
      return error;
    }
    return {};
  }

  /// The path in the error for a refused param.
  std::string paramOf(const std::string& name, std::string_view params) {
    const RPCError error = errorOf(name, params);
    EXPECT_EQ(error.code, RPCErrorCode::badParam) << error.message;
    if (error.data.size() != 1 || error.data[0].first != "param") return "<data is not {param}>";
    return std::get<std::string>(error.data[0].second);
  }

  MacVolume volume_;
  Services services_{volume_.files(), ResourceBundle("/nonexistent")};
  Binder binder_{kMethods, services_};
  RequestContext context_{};
};

TEST_F(BinderTest, ParamsAreNamedAndHaveAnyOrder) {
  EXPECT_EQ(call("Test.greet", R"({"loudly":true,"name":"ann"})"), "hello ann!");
}

TEST_F(BinderTest, AnOptionalParamMayBeOmittedOrNull) {
  EXPECT_EQ(call("Test.greet", R"({"name":"ann"})"), "hello ann");
  EXPECT_EQ(call("Test.greet", R"({"name":"ann","loudly":null})"), "hello ann");
}

TEST_F(BinderTest, AMethodWithoutParamsAcceptsNoneOrAnEmptyObject) {
  EXPECT_EQ(call("Test.home", "{}"), 10);
  EXPECT_EQ(binder_.call("Test.home", nullptr, context_).text, "10");
}

TEST_F(BinderTest, TheHandlerSeesTheRequestsCancellation) {
  EXPECT_EQ(call("Test.cancelled", "{}"), false);
  context_.cancellation.cancel();
  EXPECT_EQ(call("Test.cancelled", "{}"), true);
}

TEST_F(BinderTest, AnUnknownMethodIsNamed) {
  for (const std::string name : {"Test.nothing", "", "Test.greet ", "test.greet"}) {
    const RPCError error = errorOf(name, "{}");
    EXPECT_EQ(error.code, RPCErrorCode::noSuchMethod);
    EXPECT_EQ(error.data, (RPCError::Data{{"method", name}}));
  }
}

TEST_F(BinderTest, AMissingParamIsNamed) {
  EXPECT_EQ(paramOf("Test.greet", "{}"), "name");
  EXPECT_EQ(paramOf("Test.greet", R"({"name":null})"), "name");
}

TEST_F(BinderTest, AnUnknownParamIsNamed) {
  EXPECT_EQ(paramOf("Test.greet", R"({"name":"ann","loud":true})"), "loud");
  EXPECT_EQ(paramOf("Test.home", R"({"anything":null})"), "anything");
}

TEST_F(BinderTest, AParamOfTheWrongTypeIsNamedAndTheFirstOfSeveral) {
  EXPECT_EQ(paramOf("Test.greet", R"({"name":1})"), "name");
  EXPECT_EQ(paramOf("Test.greet", R"({"name":"ann","loudly":"yes"})"), "loudly");
  EXPECT_EQ(paramOf("Test.greet", R"({"name":1,"loudly":"yes"})"), "name");
}

TEST_F(BinderTest, AnErrorInARecordNamesItsPath) {
  EXPECT_EQ(paramOf("Test.urls", R"({"artifacts":[],"app":{"name":"A"}})"), "app.bundleURL");
  EXPECT_EQ(paramOf("Test.urls", R"({"artifacts":[{}, 1],"app":{"name":"A","bundleURL":"/A.app"}})"),
            "artifacts[0].kind");
}

TEST_F(BinderTest, ParamsInAnArrayAreRefused) {
  EXPECT_EQ(paramOf("Test.greet", R"(["ann"])"), "params");
  EXPECT_EQ(paramOf("Test.home", "[]"), "params");
}

TEST_F(BinderTest, AnUnknownMethodIsReportedBeforeFaultyParams) {
  EXPECT_EQ(errorOf("Test.nothing", "[1]").code, RPCErrorCode::noSuchMethod);
}

TEST_F(BinderTest, AFileErrorCarriesPathNumberAndNameInWellFormedText) {
  const RPCError error = errorOf("Test.failToList", "{}");
  EXPECT_EQ(error.code, RPCErrorCode::operationFailed);
  EXPECT_EQ(error.data,
            (RPCError::Data{{"path", "/Users/ann/\uFFFD"}, {"errno", std::int64_t{EACCES}}, {"name", "EACCES"}}));
  EXPECT_THAT(error.message, HasSubstr("list /Users/ann/\uFFFD"));
}

TEST_F(BinderTest, AHandlerCanRefuseAParam) { EXPECT_EQ(paramOf("Test.refuseParam", R"({"name":"x"})"), "name"); }

TEST_F(BinderTest, ARowKnowsTheTypesOfItsParamsAndResult) {
  const MethodRow& row = kMethods[2];
  ASSERT_EQ(row.params().size(), 2U);
  EXPECT_EQ(row.params()[0].type(), "[Artifact]");
  EXPECT_EQ(row.params()[1].type(), "AppEntity");
  EXPECT_EQ(row.resultType(), "[URL]");
  EXPECT_EQ(kMethods[0].params()[1].type(), "boolean?");
  EXPECT_EQ(row.progressType, nullptr);
}

}  // namespace
}  // namespace quarn::binder_tests
