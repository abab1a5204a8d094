#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include "kernel/storage/ImageBatch.h"

namespace wdb {

// Packs the images of a load beside the thread that stores them, one batch at a time; on that thread when the
// system has no other. Used by one thread, which joins it by destroying it.
class PackingThread {
public:
    // The dictionary outlives it.
    explicit PackingThread(const TailDictionary& dictionary);
    ~PackingThread();
    PackingThread(const PackingThread&) = delete;
    PackingThread& operator=(const PackingThread&) = delete;

    // A batch was given and has not been taken.
    bool busy() const { return busy_; }
    // Takes the images over; not while it is busy.
    void give(ImageBatch& images);
    // Waits for the batch that was given. What packBatch() answers.
    Status take(ImageBatch& packed);

private:
    enum class Turn { Owner, Packer, End };
    void run();

    const TailDictionary* const dictionary_;
    std::mutex mutex_;
    std::condition_variable changed_;
    Turn turn_ = Turn::Owner;  // guarded by mutex_; the batches belong to whose turn it is
    ImageBatch images_;
    ImageBatch packed_;
    Status status_ = WDB_OK;
    bool busy_ = false;  // the owner's
    std::thread thread_;
};

}  // namespace wdb
