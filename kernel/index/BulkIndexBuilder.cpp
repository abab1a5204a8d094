#include "kernel/index/BulkIndexBuilder.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include "kernel/common/Contained.h"
#include "kernel/common/Threads.h"
#include "kernel/index/IndexFileWriter.h"
#include "kernel/index/IndexFormat.h"
#include "kernel/index/PostingTable.h"
#include "kernel/index/RecordInverter.h"
#include "kernel/index/SpilledRun.h"

namespace wdb {
namespace {

constexpr size_t kBatchBytes = size_t{128} << 10;
constexpr size_t kWaitingBatches = 8;

// Copies of records on their way to a worker.
struct Batch {
    struct Item {
        RecordNumber record;
        size_t offset;
        size_t size;
    };
    std::vector<Item> items;
    std::string images;
};

// Hands batches from the adding thread to the workers, a few at a time.
class BatchQueue {
public:
    // Waits for room; false once a worker has failed.
    bool push(Batch batch) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return batches_.size() < kWaitingBatches || failed_; });
        if (failed_) return false;
        batches_.push_back(std::move(batch));
        changed_.notify_all();
        return true;
    }
    // Waits for a batch; false at the end.
    bool pop(Batch& batch) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return !batches_.empty() || ended_; });
        if (batches_.empty()) return false;
        batch = std::move(batches_.front());
        batches_.pop_front();
        changed_.notify_all();
        return true;
    }
    void end() {
        const std::lock_guard lock(mutex_);
        ended_ = true;
        changed_.notify_all();
    }
    void fail() {
        const std::lock_guard lock(mutex_);
        failed_ = ended_ = true;
        batches_.clear();
        changed_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Batch> batches_;
    bool ended_ = false;
    bool failed_ = false;
};

// One kind of keys that a worker collects: in memory, and in the runs that did not fit.
struct Collected {
    explicit Collected(Postings kind) : table(kind) {}

    PostingTable table;
    std::vector<std::unique_ptr<PostingRun>> spilled;

    Status spill(const std::string& directory) {
        const std::vector<uint32_t> order = table.finish();
        Result<std::unique_ptr<PostingRun>> run = spillRun(table, order, directory);
        if (!run) return run.status();
        spilled.push_back(std::move(*run));
        table.clear();
        return WDB_OK;
    }
    void handOver(std::vector<std::unique_ptr<PostingRun>>& runs) {
        for (auto& run : spilled) runs.push_back(std::move(run));
        runs.push_back(memoryRun(table, table.finish()));
    }
};

// What one thread inverts.
class Worker {
public:
    Worker(const Schema& schema, const BulkIndexOptions& options, size_t memoryLimit)
        : schema_(schema), options_(options), memoryLimit_(memoryLimit) {}

    Status take(const Batch& batch) {
        for (const Batch::Item& item : batch.items) {
            const Result<RecordView> view =
                RecordView::validate(Slice(batch.images).substr(item.offset, item.size));
            if (!view) return view.status();
            record_ = item.record;
            live();
            inverter_.invert(schema_, *view, *this);
        }
        if (words.table.bytes() + values.table.bytes() < memoryLimit_ || options_.spillDirectory.empty())
            return WDB_OK;
        WDB_TRY(words.spill(options_.spillDirectory));
        return values.spill(options_.spillDirectory);
    }

    // The sink of the inverter.
    void present(FieldNumber field) { set(field, SetKind::Present); }
    void multi(FieldNumber field) { set(field, SetKind::Multi); }
    void word(FieldNumber, Slice key, uint32_t position) { words.table.add(key, record_, position); }
    void value(FieldNumber, Slice key, bool) { values.table.add(key, record_); }
    void column(FieldNumber field, int64_t number) { columns[field].emplace_back(record_, number); }

    Collected words{Postings::Positions};
    Collected values{Postings::Records};
    Collected sets{Postings::Records};
    std::map<FieldNumber, ColumnRun> columns;

private:
    void live() { set(0, SetKind::Live); }
    void set(FieldNumber field, SetKind kind) {
        char key[3];
        storeBig<uint16_t>(key, field);
        key[2] = static_cast<char>(kind);
        sets.table.add(Slice(key, sizeof key), record_);
    }

    const Schema& schema_;
    const BulkIndexOptions& options_;
    const size_t memoryLimit_;
    RecordInverter inverter_;
    RecordNumber record_ = 0;
};

}  // namespace

struct BulkIndexBuilder::Impl {
    Impl(std::shared_ptr<const Schema> fields, BulkIndexOptions settings)
        : schema(std::move(fields)), options(std::move(settings)) {
        const unsigned count = std::max(1u, options.threads);
        for (unsigned i = 0; i < count; ++i) {
            workers.push_back(std::make_unique<Worker>(*schema, options, options.memoryLimit / count));
        }
    }
    ~Impl() { stop(true); }

    // As many as the system has.
    void start() {
        threads.reserve(workers.size());
        for (auto& worker : workers) {
            std::thread made = threadFor([this, target = worker.get()] { work(*target); });
            if (!made.joinable()) return;
            threads.push_back(std::move(made));
        }
    }
    void work(Worker& worker) {
        const Status status = contained([&] {
            Status taken = WDB_OK;
            for (Batch next; ok(taken) && queue.pop(next);) taken = worker.take(next);
            return taken;
        });
        if (!ok(status)) fail(status);
    }
    void fail(Status status) {
        {
            const std::lock_guard lock(mutex);
            if (ok(failure)) failure = status;
        }
        queue.fail();
    }
    Status state() {
        const std::lock_guard lock(mutex);
        return failure;
    }
    void stop(bool drop) {
        if (drop)
            queue.fail();
        else
            queue.end();
        for (std::thread& thread : threads) thread.join();
        threads.clear();
    }
    Status push() {
        if (threads.empty()) start();
        Batch given = std::exchange(batch, {});
        if (threads.empty()) return workers.front()->take(given);
        return queue.push(std::move(given)) ? WDB_OK : state();
    }

    RunMerger merged(Collected Worker::*kind) {
        std::vector<std::unique_ptr<PostingRun>> runs;
        for (auto& worker : workers) ((*worker).*kind).handOver(runs);
        return RunMerger(std::move(runs), ((*workers.front()).*kind).table.kind());
    }
    std::vector<FieldColumn> mergedColumns();

    const std::shared_ptr<const Schema> schema;
    const BulkIndexOptions options;
    std::vector<std::unique_ptr<Worker>> workers;
    std::vector<std::thread> threads;
    BatchQueue queue;
    Batch batch;  // being filled
    RecordNumber last = 0;
    std::mutex mutex;
    Status failure = WDB_OK;  // of a worker; guarded by mutex
};

std::vector<FieldColumn> BulkIndexBuilder::Impl::mergedColumns() {
    std::map<FieldNumber, ColumnRun> all;
    for (auto& worker : workers) {
        for (auto& [field, values] : worker->columns) {
            ColumnRun& target = all[field];
            const auto middle = static_cast<ptrdiff_t>(target.size());
            target.insert(target.end(), values.begin(), values.end());
            std::inplace_merge(target.begin(), target.begin() + middle, target.end());
            ColumnRun().swap(values);
        }
    }
    std::vector<FieldColumn> columns;
    for (auto& [field, values] : all) columns.push_back({field, std::move(values)});
    return columns;
}

BulkIndexBuilder::BulkIndexBuilder(std::shared_ptr<const Schema> schema, BulkIndexOptions options)
    : impl_(std::make_unique<Impl>(std::move(schema), std::move(options))) {}

BulkIndexBuilder::~BulkIndexBuilder() = default;

Status BulkIndexBuilder::add(RecordNumber record, const RecordView& view) {
    if (record <= impl_->last) return WDB_E_ARGUMENT;
    impl_->last = record;
    Batch& batch = impl_->batch;
    const Slice image = view.image();
    batch.items.push_back({record, batch.images.size(), image.size()});
    batch.images.append(image);
    return batch.images.size() < kBatchBytes ? WDB_OK : impl_->push();
}

Status BulkIndexBuilder::write(const std::string& wordPath, const std::string& valuePath, Position position) {
    if (!impl_->batch.items.empty()) WDB_TRY(impl_->push());
    impl_->stop(false);
    WDB_TRY(impl_->state());
    // The word file is the larger one and is written beside the other.
    Status wordStatus = WDB_OK;
    const auto writeWords = [&] {
        wordStatus =
            contained([&] { return writeWordFile(wordPath, impl_->merged(&Worker::words), position); });
    };
    std::thread wordThread = threadFor(writeWords);
    const Status valueStatus = contained([&] {
        return writeValueFile(valuePath, impl_->merged(&Worker::values), impl_->merged(&Worker::sets),
                              impl_->mergedColumns(), position);
    });
    if (wordThread.joinable())
        wordThread.join();
    else
        writeWords();
    if (ok(wordStatus) && ok(valueStatus)) return WDB_OK;
    std::error_code ignored;
    for (const std::string* path : {&wordPath, &valuePath}) std::filesystem::remove(*path, ignored);
    return ok(wordStatus) ? valueStatus : wordStatus;
}

Status createIndexFiles(const std::string& wordPath, const std::string& valuePath) {
    return BulkIndexBuilder(std::make_shared<const Schema>(), BulkIndexOptions{})
        .write(wordPath, valuePath, 0);
}

}  // namespace wdb
