#pragma once

// A map that forgets its least recently used entries once it holds too many or they cost too
// much in total, so caches fed by years of changing texts stay within a fixed budget.

#include <cstddef>
#include <functional>
#include <list>
#include <unordered_map>
#include <utility>

namespace tess {

template <typename Key, typename Value, typename Hash = std::hash<Key>>
class LruCache {
public:
    LruCache(std::size_t max_entries, std::size_t max_cost)
        : max_entries_(max_entries < 1 ? 1 : max_entries), max_cost_(max_cost) {}

    // The entry for the key, now the most recently used; null when absent.
    Value* Find(const Key& key) {
        auto it = index_.find(key);
        if (it == index_.end()) return nullptr;
        order_.splice(order_.begin(), order_, it->second);
        return &it->second->value;
    }

    // Adds or replaces an entry, then forgets the oldest ones until the bounds hold again.
    // The new entry itself is always kept, even when it alone exceeds the cost budget.
    Value& Insert(const Key& key, Value value, std::size_t cost) {
        if (auto it = index_.find(key); it != index_.end()) Erase(it->second);
        order_.push_front(Entry{key, std::move(value), cost});
        index_.emplace(key, order_.begin());
        cost_ += cost;
        while (order_.size() > 1 && (order_.size() > max_entries_ || cost_ > max_cost_)) {
            Erase(std::prev(order_.end()));
        }
        return order_.front().value;
    }

    void Clear() {
        index_.clear();
        order_.clear();
        cost_ = 0;
    }

    std::size_t Size() const { return order_.size(); }
    std::size_t Cost() const { return cost_; }

private:
    struct Entry {
        Key key;
        Value value;
        std::size_t cost;
    };
    using Iterator = typename std::list<Entry>::iterator;

    void Erase(Iterator it) {
        cost_ -= it->cost;
        index_.erase(it->key);
        order_.erase(it);
    }

    std::size_t max_entries_;
    std::size_t max_cost_;
    std::size_t cost_ = 0;
    std::list<Entry> order_; // most recently used first
    std::unordered_map<Key, Iterator, Hash> index_;
};

} // namespace tess
