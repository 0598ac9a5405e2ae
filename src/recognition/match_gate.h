// A binary semaphore: the hand-over point between an identification and one
// worker. Unlike a mutex it may be opened by a thread other than the one that
// closed it, which is exactly how the dispatcher and the workers use it.
#ifndef PALM_RECOGNITION_MATCH_GATE_H_
#define PALM_RECOGNITION_MATCH_GATE_H_

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

namespace palm_recognition {

class match_gate {
  public:
    match_gate() : open_(true) {}
    match_gate(match_gate const&) = delete;
    match_gate& operator=(match_gate const&) = delete;

    // Waits until the gate is open, then closes it.
    void lock() {
        boost::unique_lock<boost::mutex> guard(mutex_);
        while (!open_)
            opened_.wait(guard);
        open_ = false;
    }
    // Opens the gate; opening an open gate changes nothing.
    void unlock() {
        {
            boost::lock_guard<boost::mutex> guard(mutex_);
            open_ = true;
        }
        opened_.notify_one();
    }

  private:
    boost::mutex mutex_;
    boost::condition_variable opened_;
    bool open_;
};

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_MATCH_GATE_H_
