// The library's operations, one by one, as its header declares them: the same names, the same arguments in
// the same order. Arrays go in and out as they stand, without a copy, once their type, order and length are
// right.
#include "python/bindings/module.h"

#include "drape.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

namespace drape::python {

std::mutex& processState() {
    static std::mutex mutex;
    return mutex;
}

namespace {

enum class Kind { unread, ints, doubles };

struct Argument {
    std::string name;
    std::string length; // values that it has to hold: a number, or a term of other arguments
    Kind kind = Kind::unread;
    bool written = false;
};

// One argument of one call: what it points to, and whose it is.
struct Value {
    void* pointer = nullptr;
    std::int64_t size = 0; // in values
    py::object owner;
    std::int32_t ownInt = 0; // where the caller gave a number
    double ownDouble = 0.0;
};

template <class T>
constexpr Kind kindOf() {
    using Bare = std::remove_const_t<std::remove_pointer_t<T>>;
    return std::is_void_v<Bare> ? Kind::unread : (std::is_same_v<Bare, double> ? Kind::doubles : Kind::ints);
}

// The model that npinco registered last: its arrays stay alive as long as it does.
struct Model {
    py::object held;
    std::int64_t triCount = 0;
    std::int64_t nodeCapacity = 0;
    const std::int32_t* frontTable = nullptr;
};

// Never destroyed, since its arrays belong to an interpreter that is gone by then.
Model& model() {
    static Model* registered = new Model;
    return *registered;
}

[[noreturn]] void refuse(const char* operation, const Argument& argument, const std::string& what) {
    const auto error = py::module_::import("drape.errors").attr("ArrayError");
    const py::object value = error(std::string(operation) + ": " + argument.name + " " + what);
    PyErr_SetObject(error.ptr(), value.ptr());
    throw py::error_already_set();
}

const char* typeName(Kind kind) {
    return kind == Kind::doubles ? "float64" : "int32";
}

void takeNumber(const char* operation, const Argument& argument, const py::handle& given, Value& value) {
    value.size = 1;
    if (argument.kind == Kind::doubles) {
        value.ownDouble = PyFloat_AsDouble(given.ptr());
        value.pointer = &value.ownDouble;
    } else {
        const long long wide = PyLong_AsLongLong(given.ptr());
        value.ownInt = static_cast<std::int32_t>(wide);
        value.pointer = &value.ownInt;
        if (!PyErr_Occurred() && value.ownInt != wide) {
            refuse(operation, argument, "doesn't fit into an int32");
        }
    }
    if (PyErr_Occurred()) {
        PyErr_Clear();
        refuse(operation, argument,
               std::string("has to be a number or an array of ") + typeName(argument.kind));
    }
}

void take(const char* operation, const Argument& argument, const py::handle& given, Value& value) {
    value.owner = py::reinterpret_borrow<py::object>(given);
    if (argument.kind == Kind::unread) {
        return;
    }
    const std::string wanted = std::string("has to be a numpy array of ") + typeName(argument.kind);
    if (!py::isinstance<py::array>(given)) {
        if (!argument.written && argument.length == "1") {
            return takeNumber(operation, argument, given, value);
        }
        refuse(operation, argument, wanted);
    }
    auto array = py::reinterpret_borrow<py::array>(given);
    const bool rightType = argument.kind == Kind::doubles ? py::isinstance<py::array_t<double>>(array)
                                                          : py::isinstance<py::array_t<std::int32_t>>(array);
    if (!rightType) {
        refuse(operation, argument, wanted + ", not " + std::string(py::str(array.dtype())));
    }
    if ((array.flags() & py::array::c_style) == 0) {
        refuse(operation, argument, "has to lie in memory row by row without gaps (numpy.ascontiguousarray)");
    }
    if (argument.written && !array.writeable()) {
        refuse(operation, argument, "is written to, and the array is read-only");
    }
    value.pointer = const_cast<void*>(array.data());
    value.size = array.size();
}

// A call under way: the arguments by name, for the lengths that hang on them.
class Call {
public:
    Call(const char* operation, const std::vector<Argument>& arguments, const std::vector<Value>& values)
        : operation_(operation), arguments_(arguments), values_(values) {}

    void checkLengths() const {
        for (std::size_t i = 0; i < arguments_.size(); ++i) {
            if (arguments_[i].kind == Kind::unread) {
                continue;
            }
            const std::int64_t wanted = std::max<std::int64_t>(lengthOf(arguments_[i].length), 0);
            if (values_[i].size < wanted) {
                refuse(operation_, arguments_[i],
                       "has to hold " + std::to_string(wanted) + " values and holds " +
                           std::to_string(values_[i].size));
            }
        }
    }

private:
    const Value& value(std::string_view name) const {
        const auto found = std::find_if(arguments_.begin(), arguments_.end(),
                                        [&](const Argument& a) { return a.name == name; });
        return values_[static_cast<std::size_t>(found - arguments_.begin())];
    }

    std::int64_t intAt(std::string_view name, std::int64_t index = 0) const {
        const Value& v = value(name);
        return index < v.size ? static_cast<const std::int32_t*>(v.pointer)[index] : 0;
    }

    // Over the first `count` values of an array, as far as they're there.
    template <class Fold>
    std::int64_t folded(std::string_view name, std::int64_t count, Fold fold) const {
        std::int64_t result = 0;
        for (std::int64_t i = 0; i < std::min(count, value(name).size); ++i) {
            result = fold(result, intAt(name, i));
        }
        return result;
    }

    // [factor*]name[.field][-less], or a number.
    std::int64_t lengthOf(std::string_view term) const {
        std::int64_t factor = 1;
        std::int64_t less = 0;
        std::int64_t field = 0;
        const auto numberIn = [](std::string_view text) {
            std::int64_t n = 0;
            std::from_chars(text.data(), text.data() + text.size(), n);
            return n;
        };
        if (const auto star = term.find('*'); star != term.npos) {
            factor = numberIn(term);
            term.remove_prefix(star + 1);
        }
        if (const auto minus = term.find('-'); minus != term.npos) {
            less = numberIn(term.substr(minus + 1));
            term.remove_suffix(term.size() - minus);
        }
        if (const auto dot = term.find('.'); dot != term.npos) {
            field = numberIn(term.substr(dot + 1));
            term.remove_suffix(term.size() - dot);
        }
        if (term[0] >= '0' && term[0] <= '9') {
            return numberIn(term);
        }
        return factor * named(term, field) - less;
    }

    std::int64_t named(std::string_view name, std::int64_t field) const {
        if (name == "MtriCount") {
            return model().triCount;
        }
        if (name == "MfrontLength") {
            const std::int64_t front = intAt("frontIndex");
            if (front < 1 || front > model().nodeCapacity) {
                return std::numeric_limits<std::int32_t>::max(); // no such front, no such array
            }
            return model().frontTable[DRAPE_FRONT_FIELDS * (front - 1) + DRAPE_FRONT_LENGTH];
        }
        if (name == "successorSum") {
            return folded("successorCount", intAt("count"), [](std::int64_t sum, std::int64_t n) {
                return sum + std::max<std::int64_t>(n, 0);
            });
        }
        if (name == "triVertsNamed") {
            return 3 * folded("vertTriList", intAt("vertTriCount"),
                              [](std::int64_t most, std::int64_t n) { return std::max(most, n); });
        }
        if (name == "edgeRoom") {
            return intAt("boundaryCount") < 1 ? intAt("vertCount") : intAt("boundaryCount");
        }
        return intAt(name, field);
    }

    const char* operation_;
    const std::vector<Argument>& arguments_;
    const std::vector<Value>& values_;
};

// The caller's arguments in the order of the declaration.
void bindArguments(const char* operation, const std::vector<Argument>& arguments, const py::args& given,
                   const py::kwargs& named, std::vector<Value>& values) {
    if (given.size() + named.size() != arguments.size()) {
        throw py::type_error(std::string(operation) + " takes " + std::to_string(arguments.size()) +
                             " arguments, and " + std::to_string(given.size() + named.size()) +
                             " were given");
    }
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const py::str name(arguments[i].name);
        if (i >= given.size() && !named.contains(name)) {
            throw py::type_error(std::string(operation) + ": " + arguments[i].name + " is missing");
        }
        take(operation, arguments[i], i < given.size() ? py::handle(given[i]) : py::handle(named[name]),
             values[i]);
    }
}

std::vector<std::string> words(std::string_view text, char between) {
    std::vector<std::string> result;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(between), text.size());
        result.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return result;
}

void remember(const std::vector<Argument>& arguments, const std::vector<Value>& values, Model& kept) {
    py::list held;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        held.append(values[i].owner);
        const auto number = [&] {
            return std::int64_t{*static_cast<const std::int32_t*>(values[i].pointer)};
        };
        if (arguments[i].name == "triCount") {
            kept.triCount = number();
        } else if (arguments[i].name == "nodeCapacity") {
            kept.nodeCapacity = number();
        } else if (arguments[i].name == "frontTable") {
            kept.frontTable = static_cast<const std::int32_t*>(values[i].pointer);
        }
    }
    kept.held = held;
}

template <class Result, class... Types>
void operation(py::module_& module, const char* name, Result (*function)(Types...), const char* declaration,
               bool onModel, bool sideBySide, const char* doc) {
    std::vector<Argument> arguments;
    const std::array kinds{kindOf<Types>()...};
    const std::array written{!std::is_const_v<std::remove_pointer_t<Types>>...};
    for (const std::string& word : words(declaration, ' ')) {
        const std::size_t i = arguments.size();
        const auto parts = words(word, '=');
        arguments.push_back({parts[0], parts[1], kinds[i], written[i]});
    }
    const bool registers = std::string_view(name) == "npinco";
    const auto call = [=](const py::args& given, const py::kwargs& named) -> py::object {
        std::vector<Value> values(sizeof...(Types));
        bindArguments(name, arguments, given, named, values);
        if (onModel && !model().held) {
            throw py::value_error(std::string(name) + " works on a model, and npinco has registered none");
        }
        Call(name, arguments, values).checkLengths();
        const auto run = [&]<std::size_t... I>(std::index_sequence<I...>) {
            const py::gil_scoped_release unlocked;
            std::unique_lock<std::mutex> alone(processState(), std::defer_lock);
            if (!sideBySide) {
                alone.lock();
            }
            if constexpr (std::is_void_v<Result>) {
                function(static_cast<Types>(values[I].pointer)...);
                return std::int32_t{0};
            } else {
                return function(static_cast<Types>(values[I].pointer)...);
            }
        };
        const std::int32_t result = run(std::index_sequence_for<Types...>());
        if (registers) {
            remember(arguments, values, model());
        }
        return std::is_void_v<Result> ? py::object(py::none()) : py::object(py::int_(result));
    };
    module.def(name, call, doc);
}

} // namespace

void bindOperations(py::module_& module) {
    py::options options;
    options.disable_function_signatures();
#include "operations.inc"
}

} // namespace drape::python
