// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/tasks/task_runs.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <span>

#include "orvix/platform/crc32c.h"
#include "orvix/platform/path.h"

namespace orvix::importer {
namespace {

constexpr std::size_t kKeyBytes = 12;

std::string PointsName(const TaskName& task) {
    return FileNameOf(task) + ".points";
}

std::string KeysName(const TaskName& task) {
    return FileNameOf(task) + ".keys";
}

std::vector<std::uint8_t> BytesOf(const std::vector<SortKey>& keys) {
    std::vector<std::uint8_t> bytes(keys.size() * kKeyBytes);
    std::uint8_t* out = bytes.data();
    for (const SortKey& key : keys) {
        std::memcpy(out, &key.block, sizeof key.block);
        std::memcpy(out + sizeof key.block, &key.inside, sizeof key.inside);
        out += kKeyBytes;
    }
    return bytes;
}

SortKey KeyAt(const std::uint8_t* bytes) {
    SortKey key;
    std::memcpy(&key.block, bytes, sizeof key.block);
    std::memcpy(&key.inside, bytes + sizeof key.block, sizeof key.inside);
    return key;
}

/// The keys of a run in its file.
class KeysFile {
public:
    Expected<void> Open(const CString& path, std::uint64_t count) {
        count_ = count;
        return file_.OpenRead(path);
    }

    /// The number of the first key that is not below `key`.
    Expected<std::uint64_t> LowerBound(const SortKey& key) const {
        std::uint64_t begin = 0;
        std::uint64_t end = count_;
        while (begin != end) {
            const std::uint64_t middle = begin + (end - begin) / 2;
            const auto read = Read(middle, 1);
            if (!read) return ErrorOf(read);
            if (read->front() < key) {
                begin = middle + 1;
            } else {
                end = middle;
            }
        }
        return begin;
    }

    Expected<std::vector<SortKey>> Read(std::uint64_t first, std::uint64_t count) const {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(count * kKeyBytes));
        auto read = file_.ReadAt(first * kKeyBytes, bytes.data(), bytes.size());
        if (!read) return ErrorOf(read);
        std::vector<SortKey> keys(static_cast<std::size_t>(count));
        for (std::size_t i = 0; i < keys.size(); ++i) keys[i] = KeyAt(&bytes[i * kKeyBytes]);
        return keys;
    }

private:
    SyncedFile file_;
    std::uint64_t count_ = 0;
};

std::uint64_t KeysOf(std::uint64_t points) {
    return (points + kFileStride - 1) / kFileStride;
}

Expected<void> WriteKeys(const CString& path, const std::vector<std::uint8_t>& bytes) {
    SyncedFile file;
    Expected<void> done = file.Create(path, Durability::Temporary);
    if (done) done = file.WriteAt(0, bytes.data(), bytes.size());
    return done ? file.Close() : done;
}

Json NoteOf(const RunFacts& facts, const WrittenSums::Pieces& pieces,
            const std::vector<std::uint8_t>& keys) {
    const ExtendsT<float>& b = facts.bounds;
    Json decoded = Json::array();
    for (std::size_t i = 0; i < facts.decoded.size(); ++i) {
        if (facts.decoded[i] != 0) decoded.push_back({i, facts.decoded[i]});
    }
    return {{"points", facts.points},
            {"checksum", facts.checksum},
            {"rejected", facts.rejected},
            {"bounds", {b.min.x, b.min.y, b.min.z, b.max.x, b.max.y, b.max.z}},
            {"decoded", decoded},
            {"sums", JsonOf(pieces)},
            {"keys", platform::Crc32c(keys)}};
}

RunFacts FactsOf(const Json& json) {
    RunFacts facts;
    facts.points = json.at("points");
    facts.checksum = json.at("checksum");
    facts.rejected = json.at("rejected").get<Rejections>();
    const auto b = json.at("bounds").get<std::array<float, 6>>();
    facts.bounds = {{b[0], b[1], b[2]}, {b[3], b[4], b[5]}};
    for (const Json& station : json.at("decoded")) {
        const auto number = station.at(0).get<std::uint16_t>();
        if (facts.decoded.size() <= number) facts.decoded.resize(number + std::size_t{1});
        facts.decoded[number] = station.at(1);
    }
    return facts;
}

Expected<SortedRun> OpenPoints(const TaskNotes& notes, const TaskName& task, KeysFile& keys) {
    const auto facts = ReadRunFacts(notes, task);
    if (!facts) return ErrorOf(facts);
    SortedRun run;
    run.file = std::make_shared<SyncedFile>();
    run.count = facts->points;
    run.stride = kFileStride;
    Expected<void> done = run.file->OpenRead(notes.PathOf(PointsName(task)));
    if (done) done = keys.Open(notes.PathOf(KeysName(task)), KeysOf(run.count));
    if (!done) return ErrorOf(done);
    return run;
}

struct Sums {
    WrittenSums::Pieces pieces;
    std::uint64_t points = 0;
    std::uint32_t keys = 0;
};

Sums SumsOf(const Json& json) {
    return {PiecesOf(json.at("sums")), json.at("points"), json.at("keys")};
}

bool HasSum(const SyncedFile& file, std::uint64_t offset, std::uint64_t count, std::uint32_t sum) {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(count));
    return file.ReadAt(offset, bytes.data(), bytes.size()) && platform::Crc32c(bytes) == sum;
}

}  // namespace

Json JsonOf(const WrittenSums::Pieces& pieces) {
    Json json = Json::array();
    for (const auto& [offset, piece] : pieces) json.push_back({offset, piece.bytes, piece.sum});
    return json;
}

WrittenSums::Pieces PiecesOf(const Json& json) {
    WrittenSums::Pieces pieces;
    for (const Json& piece : json) pieces[piece.at(0)] = {piece.at(1), piece.at(2)};
    return pieces;
}

Expected<void> WriteRun(const TaskNotes& notes, const TaskName& task,
                        const std::vector<SortedRun>& runs, const RunFacts& facts,
                        const GridFrame& frame, std::uint64_t blockPoints, ImportPool& pool) {
    const CString points = notes.NewPath(PointsName(task));
    const CString keys = notes.NewPath(KeysName(task));
    WrittenSums sums;
    std::vector<std::uint8_t> keyBytes;
    auto done = [&]() -> Expected<void> {
        auto run = MergeToFile(runs, frame, blockPoints, points, sums, pool);
        if (!run) return ErrorOf(run);
        keyBytes = BytesOf(run->samples);
        if (auto closed = run->file->Close(); !closed) return closed;
        return WriteKeys(keys, keyBytes);
    }();
    if (done) done = TaskNotes::Publish(points, notes.PathOf(PointsName(task)));
    if (done) done = TaskNotes::Publish(keys, notes.PathOf(KeysName(task)));
    if (done) return notes.Write(FileNameOf(task), NoteOf(facts, sums.All(), keyBytes));
    std::error_code ignored;
    platform::RemoveFile(points, ignored);
    platform::RemoveFile(keys, ignored);
    return done;
}

Expected<RunFacts> ReadRunFacts(const TaskNotes& notes, const TaskName& task) {
    return ReadNote(notes, FileNameOf(task), FactsOf);
}

Expected<SortedRun> OpenRun(const TaskNotes& notes, const TaskName& task) {
    KeysFile keys;
    auto run = OpenPoints(notes, task, keys);
    if (!run) return run;
    auto samples = keys.Read(0, KeysOf(run->count));
    if (!samples) return ErrorOf(samples);
    run->samples = std::move(*samples);
    return run;
}

Expected<SortedRun> OpenRun(const TaskNotes& notes, const TaskName& task, const SortKey& low,
                            const SortKey& high) {
    KeysFile keys;
    auto run = OpenPoints(notes, task, keys);
    if (!run) return run;
    const auto below = keys.LowerBound(low);
    if (!below) return ErrorOf(below);
    const auto end = keys.LowerBound(high);
    if (!end) return ErrorOf(end);
    const std::uint64_t first = *below == 0 ? 0 : *below - 1;
    auto samples = keys.Read(first, *end - first);
    if (!samples) return ErrorOf(samples);
    run->samples = std::move(*samples);
    run->first = first * kFileStride;
    run->count = std::min(run->count, *end * kFileStride) - run->first;
    return run;
}

Expected<bool> IsSound(const TaskNotes& notes, const TaskName& task, ImportPool& pool) {
    const auto sums = ReadNote(notes, FileNameOf(task), SumsOf);
    if (!sums) return false;
    SyncedFile points;
    SyncedFile keys;
    if (!points.OpenRead(notes.PathOf(PointsName(task)))) return false;
    if (!keys.OpenRead(notes.PathOf(KeysName(task)))) return false;
    if (!HasSum(keys, 0, KeysOf(sums->points) * kKeyBytes, sums->keys)) return false;
    const std::vector<std::pair<std::uint64_t, WrittenSums::Piece>> pieces(sums->pieces.begin(),
                                                                           sums->pieces.end());
    std::atomic<bool> sound{true};
    auto read = pool.RunJobs(pieces.size(), [&](std::size_t i, unsigned) -> Expected<void> {
        const auto& [offset, piece] = pieces[i];
        if (sound && !HasSum(points, offset, piece.bytes, piece.sum)) sound = false;
        pool.Meter().Add(piece.bytes, 0);
        return {};
    });
    if (!read) return ErrorOf(read);
    return sound.load();
}

// The note goes first: what it speaks of is there while it is.
void RemoveRun(const TaskNotes& notes, const TaskName& task) {
    notes.Remove(FileNameOf(task));
    RemoveRunFiles(notes, task);
}

void RemoveRunFiles(const TaskNotes& notes, const TaskName& task) {
    std::error_code ignored;
    platform::RemoveFile(notes.PathOf(PointsName(task)), ignored);
    platform::RemoveFile(notes.PathOf(KeysName(task)), ignored);
}

}  // namespace orvix::importer
