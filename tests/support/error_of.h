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
        std::string text = error.what();
        for (const std::string& other : error.others)
            text += '\n' + other;
        return text;
    }
    return "no error";
}
