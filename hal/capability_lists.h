// Answers to capability queries, for output and input streams alike.
//
// Each writer looks for its key in a parsed query and, when the query holds it, adds the key to the
// reply with the list's entries as text, also when that text is empty. A list ends at its first 0.
#pragma once

#include <stdint.h>

#include <cutils/str_parms.h>

// "sup_channels": names joined by "|"; masks without a name are left out. 1, or 0 without the key.
int get_parameter_channels(struct str_parms* query, struct str_parms* reply, const uint32_t* list);

// "sup_formats": the name of the first entry. 1, or 0 without the key or when the name did not fit.
int get_parameter_formats(struct str_parms* query, struct str_parms* reply, const uint32_t* list);

// "sup_sampling_rates": decimal numbers joined by "|". 1, or 0 without the key or without a rate.
int get_parameter_rates(struct str_parms* query, struct str_parms* reply, const uint32_t* list);

// The lists of one stream, borrowed.
struct stream_capabilities {
    const uint32_t* channel_masks;
    const uint32_t* formats;
    const uint32_t* sample_rates;
};

// One writer a key, in the order in which streams answer.
struct capability_query {
    const char* key;
    int (*write)(struct str_parms* query, struct str_parms* reply, const uint32_t* list);
    const uint32_t* stream_capabilities::*list;
};

extern const capability_query capability_queries[3];
