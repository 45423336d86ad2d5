// The type of a function's parameter, taken from its declaration: for definitions that have to
// match headers which differ in a const.
#pragma once

#include <cstddef>
#include <tuple>

template <size_t Place, typename Result, typename... Parameters>
std::tuple_element_t<Place, std::tuple<Parameters...>> parameter_at(Result (*)(Parameters...));

template <auto* Function, size_t Place>
using parameter_of = decltype(parameter_at<Place>(Function));
