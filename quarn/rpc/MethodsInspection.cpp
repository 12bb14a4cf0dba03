#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Growth.h"
#include "quarn/rpc/Methods.h"
#include "quarn/wire/UsualOptions.h"

namespace quarn {
namespace {

std::vector<AppEntity> discoverApps(const Context& context) { return context.services.appsService().discoverApps(); }

SizeInfo calculateAppSize(const Context& context, const AppEntity& app) {
  const Services& services = context.services;
  SizeGrowth growth(context.request);
  const AppsService apps(services.appDiscovery, growth.watched(services.fileSizeCalculator, services.files));
  return growth.finish(apps.calculateAppSize(app, context.request.cancellation));
}

using GivenOptions = std::optional<AppInspectionService::Options>;

AppInspectionService::Options defaultOptions(const Context& /*context*/) { return usualInspectionOptions(); }

std::vector<AppInspectionService::Phase> phaseSequence(const Context& /*context*/, const GivenOptions& options) {
  return AppInspectionService::phaseSequence(options.value_or(usualInspectionOptions()));
}

AppInspection inspectApp(const Context& context, const AppEntity& app, const GivenOptions& options) {
  InspectionGrowth growth(context.request);
  const Cancellation& cancellation = context.request.cancellation;
  return context.services.appInspection(cancellation)
      .inspect(app, options.value_or(usualInspectionOptions()), growth.onPhase(), growth.onGrowth(), cancellation);
}

std::vector<AppInspection> inspectAllApps(const Context& context, const std::vector<AppEntity>& apps,
                                          const GivenOptions& options) {
  std::vector<AppInspection> inspections;
  const auto keep = [&](AppInspection inspection) {
    if (context.request.report) context.request.report(toJSON(InspectionProgress{inspection}));
    inspections.push_back(std::move(inspection));
  };
  const Cancellation& cancellation = context.request.cancellation;
  context.services.appInspection(cancellation)
      .inspectAll(apps, options.value_or(usualInspectionOptions()), keep, cancellation);
  return inspections;
}

// clang-format off
constexpr std::array kInspectionMethods{
    method<&discoverApps>("AppsService.discoverApps"),
    methodWithProgress<&calculateAppSize, SizeProgress>("AppsService.calculateAppSize", "app"),
    method<&defaultOptions>("AppInspectionService.defaultOptions"),
    method<&phaseSequence>("AppInspectionService.phaseSequence", "options"),
    methodWithProgress<&inspectApp, PhaseProgress>("AppInspectionService.inspect", "app", "options"),
    methodWithProgress<&inspectAllApps, InspectionProgress>("AppInspectionService.inspectAll", "apps", "options"),
};
// clang-format on

}  // namespace

std::span<const MethodRow> inspectionMethods() { return kInspectionMethods; }

}  // namespace quarn
