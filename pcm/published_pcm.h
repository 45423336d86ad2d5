// How a playback handle is shared with position queries, which take no lock.
//
// The thread that opens the card publishes the handle in the record; a query borrows it for the
// length of one tinyalsa call; the thread that closes the card first withdraws the handle and then
// waits for the borrowers it may have met, so that no query ever touches a closed handle.
#pragma once

#include "pcm/hpo.h"

// Makes an open handle visible to position queries. Stream lock held.
void publish_pcm(struct hpo* hpo, struct pcm* pcm);

// Takes the handle back and waits until nobody uses it any more. The caller closes it. Null when
// there was none. Stream lock held.
struct pcm* withdraw_pcm(struct hpo* hpo);

// The handle, or null, for the scope of this object. Takes no lock and never waits.
class borrowed_pcm {
  public:
    explicit borrowed_pcm(struct hpo* hpo);
    ~borrowed_pcm();
    borrowed_pcm(const borrowed_pcm&) = delete;
    borrowed_pcm& operator=(const borrowed_pcm&) = delete;

    struct pcm* get() const {
        return pcm_;
    }

  private:
    struct hpo* hpo_;
    struct pcm* pcm_;
};
