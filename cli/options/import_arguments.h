// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/verbs.h"
#include "importer/import.h"

namespace orvix::cli {

/// What the verbs that begin an import are told.
struct ImportArguments {
    std::vector<std::string> paths;  ///< the inputs, then the project
    std::string unit = "m";
    std::string up = "z";
    std::string skeleton = "10cm";
    std::string memoryLimit = "1GiB";
    std::vector<std::string> stations;
    unsigned threads = 0;
    bool dropZeros = false;
    bool dedupe = false;
    bool overwrite = false;
    bool resume = false;
};

/// The words and options of an import: inputs, project, and how they are read. Options that say how
/// the work is done (memory, threads, progress) are the verb's own.
void AddImportArguments(CLI::App& verb, const std::shared_ptr<ImportArguments>& arguments);

std::vector<CString> InputsOf(const ImportArguments& arguments);
CString ProjectOf(const ImportArguments& arguments);
importer::ImportOptions OptionsOf(const ImportArguments& arguments);

/// --memory-limit of an import.
void AddImportMemoryOption(CLI::App& verb, std::string& value);

/// "scanning", "sorting", ...
const char* WordOf(importer::ImportPhase phase);

Json JsonOf(const importer::ImportReport& report);
std::string TextOf(const importer::ImportReport& report);

}  // namespace orvix::cli
