// A list of arguments that is being written over: what stands in it already gives its memory to what comes.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "IQxData.h"

class QxArgList final {
public:
    // Writes from the front of the list, which must outlive this. What lies behind the last argument that is added is
    // removed by End.
    explicit QxArgList(std::vector<IQxData::HSICallArg>& list) : m_list(list) {}

    // The next argument, with any pairs; they are to be written over.
    IQxData::HSICallArg& Add() {
        if (m_used == m_list.size()) m_list.emplace_back();
        return m_list[m_used++];
    }

    // The value of the next argument, without a name; it is to be written over.
    std::string& AddPlain() {
        IQxData::HSICallArg& argument = Add();
        if (argument.size() == 1) {
            argument.front().first.clear();
        } else {
            argument = IQxData::HSICallArg(1);
        }
        return argument.front().second;
    }

    // Room for so many more, but for what stands there already.
    void Reserve(std::size_t count) { m_list.reserve(m_used + count); }

    void End() { m_list.resize(m_used); }

private:
    std::vector<IQxData::HSICallArg>& m_list;
    std::size_t m_used = 0;
};
