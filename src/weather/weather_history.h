#pragma once

// The history of accepted weather records: a ring of kCapacity records. The head is the slot
// the next record goes to, the tail the oldest record kept; once the ring is full each new
// record replaces the oldest. Wind statistics are read from the newest record backwards for
// as long as records lie within the statistics window of the newest one's station time, so
// a window longer than the ring holds covers what the ring has.

#include "weather/weather_record.h"

#include <vector>

namespace tess {

class WeatherHistory {
public:
    // 1.9 MB: an hour of lines every 2 s, a day and more of lines every minute.
    static constexpr int kCapacity = 2048;

    void Store(const WeatherRecord& record);

    int HeadPtr() const { return head_; }
    int TailPtr() const { return tail_; }
    int BufferSize() const { return kCapacity; }
    int Count() const { return count_; }
    // One value of the record in a ring slot; kNoValue for a slot or index out of range.
    double Value(int slot, int index) const;
    void SetValue(int slot, int index, double value);

    struct Wind {
        double speed = kNoValue;     // average of column 8
        double direction = kNoValue; // vector average of column 10, 0 <= d < 360
        double gust = kNoValue;      // highest of column 9
    };
    // Statistics over the records no more than `window_seconds` older than the newest.
    Wind WindStatistics(double window_seconds) const;

private:
    const WeatherRecord& FromNewest(int age) const;

    std::vector<WeatherRecord> records_; // grows to kCapacity as records come
    int head_ = 0;
    int tail_ = 0;
    int count_ = 0;
};

} // namespace tess
