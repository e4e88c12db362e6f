#include "Bindings.h"

#include "ToolError.h"
#include "zeblib2core/Exception.h"

#include <exception>

namespace vornpy
{
void BindErrors()
{
    // The classes live in a plain Python module, where their docstrings and
    // fields are written; the references are kept for the interpreter's life.
    const py::module_ errors = py::module_::import("vorn._errors");
    static const py::handle errorType = py::object(errors.attr("Error")).release();
    static const py::handle locationType = py::object(errors.attr("Location")).release();
    py::register_exception_translator([](std::exception_ptr raised) {
        try
        {
            if (raised)
                std::rethrow_exception(raised);
        }
        catch (const TOLX::CException& failure)
        {
            const TOLX::Impl::StExLocation& where = failure.Location();
            const py::object location = locationType(where.file, where.function, where.line);
            const py::object error = errorType(failure.what(), location);
            PyErr_SetObject(errorType.ptr(), error.ptr());
        }
        catch (const vorn::CToolError& failure)
        {
            const py::object error = errorType(failure.what(), py::none());
            PyErr_SetObject(errorType.ptr(), error.ptr());
        }
    });
}
} // namespace vornpy
