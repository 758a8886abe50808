// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

#include "importer/scans/scan_survey.h"
#include "importer/tasks/task_notes.h"

namespace orvix::importer {

/// The result of a survey task: what was found in one input.
Expected<InputSurvey> ReadSurvey(const TaskNotes& notes, std::size_t input);
Expected<void> WriteSurvey(const TaskNotes& notes, std::size_t input, const InputSurvey& survey);

}  // namespace orvix::importer
