// What is wrong, in the words of the code that is tested.
#pragma once

#include "base/error.h"

#include <functional>
#include <string>

inline std::string ErrorOf(const std::function<void()>& body)
{
    try {
        body();
    } catch (const vesk::Error& error) {
        return error.what();
    }
    return "no error";
}
