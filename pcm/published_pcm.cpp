#include "pcm/published_pcm.h"

#include <time.h>

// A borrower counts itself and then looks at the handle; the closing thread clears the handle and
// then looks at the count. Both need one order that all threads agree on, hence SEQ_CST throughout:
// either the borrower sees null or the closing thread sees the borrower.

void publish_pcm(struct hpo* hpo, struct pcm* pcm) {
    __atomic_store_n(&hpo->pcm, pcm, __ATOMIC_SEQ_CST);
}

struct pcm* withdraw_pcm(struct hpo* hpo) {
    struct pcm* const pcm =
        __atomic_exchange_n(&hpo->pcm, static_cast<struct pcm*>(nullptr), __ATOMIC_SEQ_CST);
    while (__atomic_load_n(&hpo->pcm_borrowers, __ATOMIC_SEQ_CST) != 0) {
        // Sleep rather than spin: a real-time thread that only yields would keep a borrower of
        // lower priority from ever finishing.
        const struct timespec pause = {0, 50'000};
        nanosleep(&pause, nullptr);
    }
    return pcm;
}

borrowed_pcm::borrowed_pcm(struct hpo* hpo) : hpo_(hpo) {
    __atomic_fetch_add(&hpo->pcm_borrowers, 1, __ATOMIC_SEQ_CST);
    pcm_ = __atomic_load_n(&hpo->pcm, __ATOMIC_SEQ_CST);
}

borrowed_pcm::~borrowed_pcm() {
    __atomic_fetch_sub(&hpo_->pcm_borrowers, 1, __ATOMIC_SEQ_CST);
}
