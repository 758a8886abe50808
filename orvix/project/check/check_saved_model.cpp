// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/check/check_saved_model.h"

#include <string>
#include <vector>

#include "orvix/platform/path.h"
#include "orvix/project/check/check_records.h"
#include "orvix/project/check/places_in_records.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/saved/model_file.h"

namespace orvix::detail {

void CheckSavedModel(CheckLog& log, const ProjectManager& paths, const ModelFault& modelFault) {
    const CString path = SavedModelPath(paths);
    if (!platform::PathExists(path) || !platform::PathExists(paths.gridPts)) return;
    const auto model = ModelFile::Open(path);
    if (!model && model.error().code == ErrorCode::Failure) return log.Refuse(model.error());
    if (!model) return log.Add(path, "{}", model.error().message);
    if (const std::string fault = modelFault ? modelFault(model->Content()) : ""; !fault.empty())
        log.Add(path, "{}", fault);
    const RecordFile<CCloudPoint<float>> records(paths.gridPts, log);
    if (!records.IsOpen()) return;
    if (records.Count() != model->Points())
        return log.Add(path, "is of {} points where {} holds {}", model->Points(),
                       platform::ToUtf8(paths.gridPts), records.Count());
    std::vector<SimplePointT<float>> places;
    const std::vector<std::uint64_t> blocks = SampledBlocks(records.Count());
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (PlacesHashIn(records, blocks[i], places) != model->PlacesHashes()[i])
            log.Add(path, "is of other points than {} holds, of which point {} is the first",
                    platform::ToUtf8(paths.gridPts), blocks[i] * PlanesFileStart::kBlockPoints);
    }
    log.Advance(records.Bytes());
}

}  // namespace orvix::detail
