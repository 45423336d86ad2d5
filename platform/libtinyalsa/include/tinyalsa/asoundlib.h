/* The header that users of the library include. */
#ifndef TINYALSA_ASOUNDLIB_H
#define TINYALSA_ASOUNDLIB_H

#include <tinyalsa/pcm.h>

#endif
