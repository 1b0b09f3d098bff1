#include "CallQueue.h"

#include <algorithm>

#include "Call.h"
#include "ipl/GlobalErrorHandler.h"

namespace comm::transport {
namespace {

// What arrays that wait for their next use may hold: a burst of the longest messages of the bench, and then some.
constexpr std::size_t MostBytes = 16U << 20;
constexpr std::size_t MostArrays = 256;

// The engine ends the process as well where it finds no memory for a call.
util::UInt8ArrayPtr madeArray() {
    util::UInt8ArrayPtr array = util::CITypesFactory::createUInt8Array(0);
    if (!array) ipl::GlobalErrorHandler::doOutOfMem("a call", "madeArray", "comm/transport/dds/CallQueue");
    return array;
}

}  // namespace

void CallQueue::take(dds_entity_t reader) {
    const std::scoped_lock lock(m_mutex);
    while (takeOne(reader)) {
    }
}

// The engine's memory and an array's come from the same heap, so the engine may enlarge an array like its own.
bool CallQueue::takeOne(dds_entity_t reader) {
    util::UInt8ArrayPtr array = newArray();
    zidbench_Call call{0, 0, false, {array->capacity, 0, array->data, true}};
    void* sample = &call;
    dds_sample_info_t info;
    const dds_return_t count = ::dds_take(reader, &sample, &info, 1, 1);
    *array = {call.array._length, call.array._buffer, call.array._maximum};
    if (count == 1 && info.valid_data) {
        m_calls.push_back({info.publication_handle, call.number, call.handleSize, call.withArray, std::move(array)});
    } else {
        m_arrayBytes += array->capacity;
        m_arrays.push_back(std::move(array));
    }
    return count == 1;
}

util::UInt8ArrayPtr CallQueue::newArray() {
    if (m_arrays.empty()) return madeArray();
    util::UInt8ArrayPtr array = std::move(m_arrays.back());
    m_arrays.pop_back();
    m_arrayBytes -= array->capacity;
    return array;
}

bool CallQueue::exchange(Calls& calls) {
    const std::scoped_lock lock(m_mutex);
    reuse(calls);
    calls.swap(m_calls);
    return !calls.empty();
}

bool CallQueue::contains(dds_instance_handle_t writer) const {
    const std::scoped_lock lock(m_mutex);
    return std::ranges::find(m_calls, writer, &Call::writer) != m_calls.end();
}

void CallQueue::reuse(Calls& done) {
    for (Call& call : done) {
        if (!call.array.unique() || m_arrays.size() >= MostArrays || m_arrayBytes + call.array->capacity > MostBytes)
            continue;
        m_arrayBytes += call.array->capacity;
        m_arrays.push_back(std::move(call.array));
    }
    done.clear();
}

}  // namespace comm::transport
