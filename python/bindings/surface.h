// A surface and a finished drape as the package holds them. Both stay as they are once they are made, so
// threads share them and arrays point into them.
#pragma once

#include "python/bindings/module.h"

#include "host/search/trial.h"
#include "tool/good_part.h"
#include "tool/page.h"

#include <memory>
#include <mutex>
#include <string>

namespace drape::python {

struct HeldMould {
    host::Surface surface;
    host::Notes notes;
    std::string source;     // the file, or what stands for one
    bool seedNamed = false; // its default seed was asked for
    // What the surface was made of; for one that came through a pickle, or was cut out, the surface itself.
    host::SurfaceWishes asked;
    std::shared_ptr<const tool::PagePart> part;

    // The same surface with the cell lengths that a start asks for; `from` is where a patch would be
    // measured.
    std::shared_ptr<const host::Surface> surfaceFor(const host::TrialWishes& wishes,
                                                    const host::Point& from) const;

private:
    mutable std::mutex lock_;
    mutable std::shared_ptr<const host::Surface> last_; // asked for, as starts with one step come in series
};

// A drape is run at once and measured when someone asks for its cells or figures, as measuring all of a small
// drape takes longer than the run.
struct HeldPly {
    std::shared_ptr<const HeldMould> mould;
    std::shared_ptr<const host::Surface> surface; // with the cell lengths of this drape
    host::TrialWishes wishes;
    mutable host::Trial trial; // its measures only through `sheared` and `measured`
    bool wasMeasured = false;  // by the search for its patch
    host::Notes notes;
    std::optional<host::Point> passedOver; // the middle, where the start was found beside it

    // Cells, shear and turns only, or all. With or without the interpreter's lock, which isn't held
    // meanwhile.
    const host::Trial& sheared() const;
    const host::Trial& measured() const;

    // What is good of one that folds, for reports; null for others.
    const tool::GoodPart* good() const;

private:
    void shearOnce() const;
    void measureOnce() const;

    mutable std::once_flag shear_, all_, good_;
    mutable std::optional<tool::GoodPart> goodPart_;
};

// An array over memory that `owner` keeps alive, without a copy; nobody can write to it.
template <class T>
py::array viewOf(const T* first, std::vector<py::ssize_t> shape, std::vector<py::ssize_t> strides,
                 const py::handle& owner) {
    py::array array(py::dtype::of<T>(), std::move(shape), std::move(strides), first, owner);
    py::detail::array_proxy(array.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
    return array;
}

// `columns` packed values per row, one column as a plain array.
template <class T>
py::array rowsOf(const T* first, std::size_t rows, py::ssize_t columns, const py::handle& owner) {
    const auto count = static_cast<py::ssize_t>(rows);
    const auto size = static_cast<py::ssize_t>(sizeof(T));
    return columns == 1 ? viewOf<T>(first, {count}, {size}, owner)
                        : viewOf<T>(first, {count, columns}, {columns * size, size}, owner);
}

py::list textsOf(const host::Notes& notes);

} // namespace drape::python
