/**
 * @file
 * Names and meanings of result codes, for people to read. Header-only; vesk_video.h does not include it.
 */
#ifndef VESK_VIDEO_RESULT_TEXT_H
#define VESK_VIDEO_RESULT_TEXT_H

#include "vesk_video/common.h"

/** What a result code is called, and what it means. */
typedef struct VeskVideoResultText {
    const char* name;    /**< "VESK_VIDEO_ERR_FAILURE", or "unknown result"; never null. */
    const char* meaning; /**< A sentence; never null. */
} VeskVideoResultText;

/**
 * @ingroup conventions
 * Puts a result code into words: one of the library's or, if the headers of the virtual service are there,
 * one of the virtual service's.
 *
 * @param result  What a function of the library returned.
 * @return Name and meaning; the texts are constants.
 */
static inline VeskVideoResultText VeskVideoGetResultText(uint32_t result)
{
    VeskVideoResultText text = {"unknown result", "A code of the service's or the platform's own."};
    /** @cond */
    switch (result) {
#define VESK_RESULT(label, code, sentence, origin)                                                           \
    case code:                                                                                               \
        text.name = #label;                                                                                  \
        text.meaning = sentence;                                                                             \
        break;
#include "vesk_video/results.def"
#ifdef __has_include
#if __has_include("vesk_service/virtual_service.h")
#include "vesk_service/results.def"
#endif
#endif
#undef VESK_RESULT
    default:
        break;
    }
    /** @endcond */
    return text;
}

#endif
