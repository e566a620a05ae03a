#pragma once
// Rows of test tables are structs with a `name`: failure messages print a row as its name,
// and ByName() gives each parameterised test the name of its row.

#include <ostream>
#include <string>

namespace {

template <class Row>
auto operator<<(std::ostream& os, const Row& row) -> decltype(os << row.name) {
    return os << row.name;
}

struct ByName {
    template <class Info>
    std::string operator()(const Info& info) const {
        return std::string(info.param.name);
    }
};

}  // namespace
