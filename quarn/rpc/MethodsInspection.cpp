#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Methods.h"

namespace quarn {
namespace {

std::vector<AppEntity> discoverApps(const Context& context) { return context.services.appsService().discoverApps(); }

SizeInfo calculateAppSize(const Context& context, const AppEntity& app) {
  return context.services.appsService().calculateAppSize(app, context.request.cancellation);
}

std::vector<AppInspectionService::Phase> phaseSequence(const Context& /*context*/,
                                                       const AppInspectionService::Options& options) {
  return AppInspectionService::phaseSequence(options);
}

AppInspection inspectApp(const Context& context, const AppEntity& app, const AppInspectionService::Options& options,
                         const std::optional<bool>& progress) {
  AppInspectionService::Progress report;
  if (progress.value_or(false)) {
    report = [&](AppInspectionService::Phase phase) { context.request.report(toJSON(PhaseProgress{phase})); };
  }
  return context.services.appInspection(context.request.cancellation)
      .inspect(app, options, report, context.request.cancellation);
}

std::vector<AppInspection> inspectAllApps(const Context& context, const std::vector<AppEntity>& apps,
                                          const AppInspectionService::Options& options) {
  std::vector<AppInspection> inspections;
  context.services.appInspection(context.request.cancellation)
      .inspectAll(
          apps, options, [&](AppInspection inspection) { inspections.push_back(std::move(inspection)); },
          context.request.cancellation);
  return inspections;
}

// clang-format off
constexpr std::array kInspectionMethods{
    method<&discoverApps>("AppsService.discoverApps"),
    method<&calculateAppSize>("AppsService.calculateAppSize", "app"),
    method<&phaseSequence>("AppInspectionService.phaseSequence", "options"),
    methodWithProgress<&inspectApp, PhaseProgress>("AppInspectionService.inspect", "app", "options", "progress"),
    method<&inspectAllApps>("AppInspectionService.inspectAll", "apps", "options"),
};
// clang-format on

}  // namespace

std::span<const MethodRow> inspectionMethods() { return kInspectionMethods; }

}  // namespace quarn
