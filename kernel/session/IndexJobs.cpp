#include "kernel/session/IndexJobs.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "kernel/common/Contained.h"
#include "kernel/common/Threads.h"
#include "kernel/jobs/IndexJob.h"

namespace wdb {

struct IndexJobs::Worker {
    struct Job {
        std::shared_ptr<OpenBase> base;
        bool mayMerge;
        int64_t now;
    };

    explicit Worker(SystemDirectory& shared) : directory(&shared), thread(threadFor([this] { run(); })) {}
    ~Worker() {
        {
            const std::lock_guard lock(mutex);
            closing = true;
        }
        changed.notify_one();
        if (thread.joinable()) thread.join();
    }

    void run() {
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, [this] { return closing || !jobs.empty(); });
            if (jobs.empty()) return;
            const Job job = jobs.front();  // stays in the list while it runs
            lock.unlock();
            // A job decides about speed only: one that fails is left to the next request.
            static_cast<void>(
                contained([&] { return runIndexJob(*directory, job.base, job.mayMerge, job.now); }));
            lock.lock();
            jobs.pop_front();
        }
    }

    SystemDirectory* directory;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Job> jobs;
    bool closing = false;
    std::thread thread;
};

IndexJobs::IndexJobs(std::shared_ptr<SystemDirectory> directory) : directory_(std::move(directory)) {}
IndexJobs::~IndexJobs() = default;

Status IndexJobs::submit(const std::shared_ptr<OpenBase>& base, bool mayMerge, int64_t now) {
    if (!worker_) {
        auto made = std::make_unique<Worker>(*directory_);
        if (!made->thread.joinable()) return WDB_E_INDEX;
        worker_ = std::move(made);
    }
    {
        const std::lock_guard lock(worker_->mutex);
        if (std::ranges::any_of(worker_->jobs, [&](const Worker::Job& job) { return job.base == base; }))
            return WDB_OK;
        worker_->jobs.push_back({base, mayMerge, now});
    }
    worker_->changed.notify_one();
    return WDB_OK;
}

}  // namespace wdb
