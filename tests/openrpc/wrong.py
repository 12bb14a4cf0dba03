"""Each line with "type: ignore" must be an error: otherwise mypy reports the comment."""

from quarn_rpc import AppInspection, ArtifactKind, methods

methods.AppsService.discover  # type: ignore
methods.AppsService.calculateAppSize({})  # type: ignore
methods.AppsService.calculateAppSize()  # type: ignore
methods.AppsService.discoverApps({"all": True})  # type: ignore
kind: ArtifactKind = "caches"  # type: ignore


def plan(inspection: AppInspection) -> None:
    """What must be accepted: a record of an answer in a request, and options in part."""
    methods.AppRemovalPlanner.buildPreview({"inspection": inspection, "mode": "removeApp"})
    version: str = inspection["app"]["version"]  # type: ignore
    methods.AppInspectionService.inspect(
        {"app": {"name": "A", "bundleURL": version}, "options": {"includeReceipts": False}, "reportUnread": True}
    )
