// Requests as lines of text.
#pragma once

#include <string>

/**
 * Plays statements, between semicolons or on lines that begin with a name:
 *
 *     VO_START 1 !STATE                        a request, its arguments, and how it is refused
 *     SET_SCREEN_OFFSET 1 < -10 20             the words of its payload; zeros follow them
 *     GET_VO_PORT 1 = 0 1 1 @64 'HDMI-OUT-1    those of its answer; @ goes on at a byte, ' begins a text
 *     ON 107 = 0 1 0                           the next notification of a number
 *
 * A request has its name of the list of messages; its arguments stand in the order of the header's fields,
 * and each # is @p index, each % @p number.
 */
void Play(std::string script, uint32_t index = 0, uint32_t number = 0);
