// SPDX-License-Identifier: MIT
// json_object.h - a JSON object that is made member by member, with cJSON.

#ifndef EZOSSL_TOOL_JSON_OBJECT_H
#define EZOSSL_TOOL_JSON_OBJECT_H

#include <cmath>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include <cJSON.h>

#include "output/columns.h"

// cJSON returns NULL when memory runs out; unchecked, a member would be missing.
template <class Result>
Result *require_json(Result *result)
{
    if (result == nullptr)
        throw std::bad_alloc();
    return result;
}

class JsonObject
{
public:
    JsonObject() : json_(require_json(cJSON_CreateObject())) {}
    void add(const char *name, const std::string &text)
    {
        require_json(cJSON_AddStringToObject(json_.get(), name, text.c_str()));
    }
    // Infinities, such as the level of silence, and NaN become null.
    template <class Arithmetic>
    std::enable_if_t<std::is_arithmetic_v<Arithmetic>> add(const char *name, Arithmetic number)
    {
        require_json(cJSON_AddNumberToObject(json_.get(), name, static_cast<double>(number)));
    }
    void add(const char *name, const Number &number)
    {
        const double steps = std::pow(10.0, number.decimals); // and no digits beyond
        add(name, std::round(number.value * steps) / steps);
    }
    void add(const char *name, std::monostate /*none*/)
    {
        require_json(cJSON_AddNullToObject(json_.get(), name));
    }
    void add(const char *name, const List &list)
    {
        cJSON *const array = require_json(cJSON_AddArrayToObject(json_.get(), name));
        for (const std::optional<int> number : list)
            append(array, number ? cJSON_CreateNumber(*number) : cJSON_CreateNull());
    }

    void add(const char *name, const std::vector<std::string> &texts)
    {
        cJSON *const array = require_json(cJSON_AddArrayToObject(json_.get(), name));
        for (const std::string &text : texts)
            append(array, cJSON_CreateString(text.c_str()));
    }
    template <class Type>
    void add(const char *name, const std::optional<Type> &value)
    {
        if (value)
            add(name, *value);
        else
            add(name, std::monostate());
    }

    void add(const char *name, JsonObject object)
    {
        // On failure cJSON leaves the item to the caller.
        require_json(cJSON_AddItemToObject(json_.get(), name, object.json_.get()) ? this : nullptr);
        static_cast<void>(object.json_.release());
    }

    // On one line.
    std::string text() const
    {
        return std::unique_ptr<char, Free>(require_json(cJSON_PrintUnformatted(json_.get()))).get();
    }

private:
    struct Free {
        void operator()(cJSON *json) const { cJSON_Delete(json); }
        void operator()(char *text) const { cJSON_free(text); }
    };

    static void append(cJSON *array, cJSON *item)
    {
        cJSON_AddItemToArray(array, require_json(item));
    }

    std::unique_ptr<cJSON, Free> json_;
};

#endif
