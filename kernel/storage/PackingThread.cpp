#include "kernel/storage/PackingThread.h"

#include <utility>

#include "kernel/common/Threads.h"

namespace wdb {

PackingThread::PackingThread(const TailDictionary& dictionary)
    : dictionary_(&dictionary), thread_(threadFor([this] { run(); })) {}

PackingThread::~PackingThread() {
    if (!thread_.joinable()) return;
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return turn_ == Turn::Owner; });
        turn_ = Turn::End;
    }
    changed_.notify_all();
    thread_.join();
}

void PackingThread::run() {
    for (;;) {
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return turn_ != Turn::Owner; });
            if (turn_ == Turn::End) return;
        }
        status_ = packBatch(images_, *dictionary_, packed_);
        {
            const std::lock_guard lock(mutex_);
            turn_ = Turn::Owner;
        }
        changed_.notify_all();
    }
}

void PackingThread::give(ImageBatch& images) {
    busy_ = true;
    if (!thread_.joinable()) {
        status_ = packBatch(images, *dictionary_, packed_);
        images.clear();
        return;
    }
    {
        const std::lock_guard lock(mutex_);
        images_.clear();
        std::swap(images_, images);
        turn_ = Turn::Packer;
    }
    changed_.notify_all();
}

Status PackingThread::take(ImageBatch& packed) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return turn_ == Turn::Owner; });
    busy_ = false;
    packed.clear();
    std::swap(packed_, packed);
    return status_;
}

}  // namespace wdb
