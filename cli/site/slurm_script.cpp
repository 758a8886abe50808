// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/site/slurm_script.h"

#include <fmt/format.h>

namespace orvix::cli {

namespace {

std::string Quoted(const std::string& word) {
    std::string quoted = "'";
    for (const char c : word) {
        if (c == '\'') {
            quoted += "'\\''";
        } else {
            quoted += c;
        }
    }
    return quoted + "'";
}

}  // namespace

std::string SlurmScriptOf(const SlurmJob& job) {
    std::string script = fmt::format(
        "#!/bin/bash\n"
        "# One scan a task: sbatch this file. What is done is not done again, so it may be sent\n"
        "# again after a failure. ORVIX names the command where it lies elsewhere on the nodes.\n"
        "#SBATCH --job-name=orvix-site\n"
        "#SBATCH --array=0-{}{}\n"
        "#SBATCH --cpus-per-task={}\n"
        "#SBATCH --mem={}M\n"
        "#SBATCH --output=/dev/null\n"
        "set -euo pipefail\n"
        "scans=(\n",
        job.scans.size() - 1, job.jobs > 0 ? fmt::format("%{}", job.jobs) : "", job.threads,
        job.memoryBytes >> 20);
    for (const std::string& scan : job.scans) script += fmt::format("    {}\n", Quoted(scan));
    script += fmt::format(
        ")\n"
        "exec > {}/\"slurm-${{SLURM_ARRAY_JOB_ID:-0}}-${{SLURM_ARRAY_TASK_ID}}.txt\" 2>&1\n"
        "orvix=${{ORVIX:-{}}}\n"
        "exec \"$orvix\"",
        Quoted(job.log), Quoted(job.program));
    for (const std::string& word : job.words) script += " " + Quoted(word);
    return script + fmt::format(
                        " \\\n    --jobs 1 --threads \"${{SLURM_CPUS_PER_TASK:-{}}}\" --scan "
                        "\"${{scans[$SLURM_ARRAY_TASK_ID]}}\"\n",
                        job.threads);
}

}  // namespace orvix::cli
