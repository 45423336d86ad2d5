// From a pointer that the framework holds back to the record that it is the beginning of.
#pragma once

// Takes any address that a record begins at. By way of void*, because records are aligned for more
// than their first members need, which a compiler for ARM would warn of: they are allocated whole.
template <typename Record>
Record* record_at(const void* address) {
    return static_cast<Record*>(const_cast<void*>(address));
}
