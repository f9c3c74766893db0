// What a fault event holds.
#pragma once

#include <string>
#include <vector>

#include "pelora/event_service.h"
#include "pelora/outbox.h"

class KoEvent::Impl {
public:
    explicit Impl(int event_id) : id(event_id) {}

    void Put(const std::string& key, std::string text, bool number);
    void AddFile(const std::string& path);

    int id;
    std::vector<pelora::OutboxValue> values;
    std::vector<std::string> files;
    std::string flat;
};
