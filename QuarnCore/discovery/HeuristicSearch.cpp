#include "QuarnCore/discovery/ArtifactScanner.h"
#include "QuarnCore/discovery/NameSearch.h"

namespace quarn {

std::vector<Artifact> ArtifactScanner::userHeuristicSearch(const AppEntity& app, long maxDepth, long maxResults,
                                                           const Cancellation& cancellation) const {
  const NameSearch::Limits limits{.maxDepth = maxDepth, .maxResults = maxResults};
  return NameSearch(NameSearch::Where::userLibrary, {app}, files_, limits, cancellation).finds(app);
}

std::vector<Artifact> ArtifactScanner::systemHeuristicSearch(const AppEntity& app, long maxDepth, long maxResults,
                                                             const Cancellation& cancellation) const {
  const NameSearch::Limits limits{.maxDepth = maxDepth, .maxResults = maxResults};
  return NameSearch(NameSearch::Where::systemLibrary, {app}, files_, limits, cancellation).finds(app);
}

std::vector<Artifact> ArtifactScanner::documentsHeuristicSearch(const AppEntity& app, long maxDepth, long maxResults,
                                                                const Cancellation& cancellation) const {
  const NameSearch::Limits limits{.maxDepth = maxDepth, .maxResults = maxResults};
  return NameSearch(NameSearch::Where::documents, {app}, files_, limits, cancellation).finds(app);
}

}  // namespace quarn
