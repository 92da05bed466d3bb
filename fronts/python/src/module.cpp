// The native half of the `vimra` Python module: NumPy arrays as images without
// copies, the operation catalogue, and runs that release the GIL and can be
// cancelled. Everything a user sees (dtype and axes rules, generated functions,
// futures, errors) is written in Python on top of this (vimra/_core.py).

#include <VIMRAIPL/VIMRAIPLArithmetic/Catalogue.h>

#include <vimra/core/BaseException.h>
#include <vimra/core/InstructionSet.h>
#include <vimra/formula/ImageFormulaManager.h>
#include <vimra/image/BaseImage.h>
#include <vimra/processor/ProcessingException.h>
#include <vimra/processor/Processor.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <chrono>
#include <string_view>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace py = pybind11;

namespace vimra::python {

namespace catalogue = imaproc::arithm::catalogue;
using image::eImageBufferType;

namespace {

/// A failure of the library or of an argument, raised in Python as the
/// `vimra` error class named by `kind` ("value" or "type").
struct Failure {
    std::string kind;
    std::string message;
};

/// Buffer-type problems are TypeErrors for Python callers; everything else the
/// library refuses (sizes, geometry, values) is a ValueError.
std::string kindOf(const std::string& message) {
    for (const char* marker : {"matchBufferType", "no kernel is registered", "buffer type", "Element type"})
        if (message.find(marker) != std::string::npos) return "type";
    return "value";
}

[[noreturn]] void fail(const std::string& kind, const std::string& message) {
    throw Failure{kind, message};
}

/// Wraps a library-created image so NumPy can own a reference to it.
struct ImageHolder {
    image::ImagePtr image;
};

py::capsule holderCapsule(const image::ImagePtr& img) {
    return py::capsule(new ImageHolder{img}, "vimra.image",
                       [](PyObject* c) { delete static_cast<ImageHolder*>(PyCapsule_GetPointer(c, "vimra.image")); });
}

/// The image behind an array the library created (or a view of one that keeps
/// its layout: any C-contiguous reshape of a one-plane image, or a reshape
/// adding or dropping axes of size 1), or null.
image::ImagePtr libraryImageOf(const py::array& a) {
    py::handle base = a.base();
    while (base && py::isinstance<py::array>(base)) base = base.attr("base");
    if (!base || !PyCapsule_CheckExact(base.ptr())) return {};
    const char* name = PyCapsule_GetName(base.ptr());
    if (name == nullptr || std::string_view(name) != "vimra.image") return {};
    const image::ImagePtr& img = static_cast<ImageHolder*>(PyCapsule_GetPointer(base.ptr(), name))->image;
    if (a.data() != img->planeData()) return {};
    // One plane is one run of elements: any C-contiguous shape of it is the same memory.
    if (img->getPlaneCount() == 1 && (a.flags() & py::array::c_style) &&
        static_cast<std::uint64_t>(a.size()) == img->getPlaneSize())
        return img;
    // The axes of more than one element, outermost first, with their strides in bytes.
    const auto es = static_cast<py::ssize_t>(img->getElementSize());
    const std::pair<std::uint64_t, std::uint64_t> dims[] = {
        {img->getSizeT(), img->getTimeStride()}, {img->getSizeC(), img->getChannelStride()},
        {img->getSizeZ(), img->getPlaneStride()}, {img->getSizeY(), img->getSizeX()}, {img->getSizeX(), 1}};
    std::vector<std::pair<py::ssize_t, py::ssize_t>> expected, actual;
    for (const auto& [size, stride] : dims)
        if (size > 1) expected.emplace_back(static_cast<py::ssize_t>(size), static_cast<py::ssize_t>(stride) * es);
    for (py::ssize_t k = 0; k < a.ndim(); ++k)
        if (a.shape(k) > 1) actual.emplace_back(a.shape(k), a.strides(k));
    return expected == actual ? img : image::ImagePtr{};
}

/// What Python tells about an array: (buffer type, x, y, z, c, t, 3d, multi-channel, sequence).
struct ImageLayout {
    int bufferType;
    std::uint64_t x, y, z, c, t;
    bool volume3d, multiChannel, sequence;

    static ImageLayout from(const py::handle& h) {
        const auto v = h.cast<py::tuple>();
        if (v.size() != 9) fail("value", "an image is described by 9 values");
        return {v[0].cast<int>(),   v[1].cast<std::uint64_t>(), v[2].cast<std::uint64_t>(),
                v[3].cast<std::uint64_t>(), v[4].cast<std::uint64_t>(), v[5].cast<std::uint64_t>(),
                v[6].cast<bool>(),  v[7].cast<bool>(),          v[8].cast<bool>()};
    }
};

image::ImageDescription describe(const ImageLayout& s) {
    return image::ImageDescription::make(
        static_cast<eImageBufferType::domain>(s.bufferType), s.x, s.y,
        s.volume3d ? image::VolumeGeometry::make3d(s.z) : image::VolumeGeometry::make2d(),
        s.multiChannel ? image::ColorGeometry::multiChannel(s.c) : image::ColorGeometry::grey(),
        s.sequence ? image::TemporalGeometry::sequence(s.t) : image::TemporalGeometry::single());
}

/// The array as an image, without a copy. C-contiguous arrays are wrapped in
/// place (packed planes: the kernels then keep to the array's own memory);
/// arrays the library created are its images themselves.
image::ImagePtr imageOf(const py::array& a, const ImageLayout& layout, bool writable) {
    const image::ImageDescription desc = describe(layout);
    const std::size_t elementSize = image::getImageBufferBaseSize(desc.bufferType);
    if (static_cast<std::size_t>(a.itemsize()) != elementSize)
        fail("type", "array items of " + std::to_string(a.itemsize()) + " bytes do not hold " +
                         image::bufferTypeName(desc.bufferType) + " elements");
    const std::uint64_t elements = desc.sizeX * desc.sizeY * desc.planeCount();
    if (static_cast<std::uint64_t>(a.size()) != elements)
        fail("value", "array of " + std::to_string(a.size()) + " elements described as an image of " +
                          std::to_string(elements));
    if (writable && !a.writeable()) fail("value", "output array is read-only");
    if (image::ImagePtr img = libraryImageOf(a))
        if (img->getDescription() == desc) return img;  // padded planes: no copy either
    if (!(a.flags() & py::array::c_style))
        fail("value", "array is not C-contiguous; pass np.ascontiguousarray(a)");
    // The array object keeps its memory; the Python caller holds it for the run.
    return image::Image::wrap(desc, const_cast<void*>(a.data()), desc.sizeX * desc.sizeY);
}

/// The canonical (t, c, z, y, x) array over a library image, sharing its memory.
py::array arrayOf(const image::ImagePtr& img, const py::dtype& dtype) {
    const auto es = static_cast<py::ssize_t>(img->getElementSize());
    std::vector<py::ssize_t> shape{static_cast<py::ssize_t>(img->getSizeT()), static_cast<py::ssize_t>(img->getSizeC()),
                                   static_cast<py::ssize_t>(img->getSizeZ()), static_cast<py::ssize_t>(img->getSizeY()),
                                   static_cast<py::ssize_t>(img->getSizeX())};
    std::vector<py::ssize_t> strides{static_cast<py::ssize_t>(img->getTimeStride()) * es,
                                     static_cast<py::ssize_t>(img->getChannelStride()) * es,
                                     static_cast<py::ssize_t>(img->getPlaneStride()) * es,
                                     static_cast<py::ssize_t>(img->getSizeX()) * es, es};
    return py::array(dtype, shape, strides, img->planeData(), holderCapsule(img));
}

// ---- runs -------------------------------------------------------------------------------------

/// One call of an operation: prepared with the GIL held, run without it, either
/// on the calling thread or on a thread of its own that the caller can wait for
/// with a timeout (for Ctrl-C and futures) and cancel.
class Run {
public:
    Run(const std::string& name, const py::list& args, const py::list& outputs, unsigned threads, int isa) {
        m_op = catalogue::findOperation(name);
        if (!m_op) fail("value", "no operation named '" + name + "'");
        std::vector<catalogue::ArgumentValue> values;
        values.reserve(args.size());
        for (std::size_t i = 0; i < args.size() && i < m_op->arguments.size(); ++i)
            values.push_back(argumentValue(args[i], m_op->arguments[i]));
        std::vector<image::ImagePtr> outs;
        bool anyOutput = false;
        for (const py::handle o : outputs) {
            if (o.is_none()) {
                outs.push_back(nullptr);
                continue;
            }
            const auto pair = o.cast<py::tuple>();
            outs.push_back(imageOf(pair[0].cast<py::array>(), ImageLayout::from(pair[1]), true));
            anyOutput = true;
        }
        if (anyOutput && std::find(outs.begin(), outs.end(), nullptr) != outs.end())
            fail("value", m_op->snakeName() + ": give every output or none");
        m_processor = m_op->prepare(values, anyOutput ? outs : std::vector<image::ImagePtr>{});
        processor::ProcessorDispatchPolicy policy = m_processor->getDispatchPolicy();
        policy.setMaxWorkers(threads);
        if (isa >= 0) policy.setHighestInstructionSet(static_cast<eInstructionSet::domain>(isa));
        m_processor->setDispatchPolicy(policy);
    }

    ~Run() {
        if (m_thread.joinable()) {
            m_processor->requestCancellation();
            py::gil_scoped_release release;
            m_thread.join();
        }
    }

    /// Runs on the calling thread with the GIL released.
    void execute() {
        {
            py::gil_scoped_release release;
            m_result = m_processor->run(processor::eSynchronisationType::eSynchronous);
        }
        m_done = true;
    }

    /// Starts the run on a thread of its own.
    void start() {
        m_thread = std::thread([this] {
            processor::BoolResult r = m_processor->run(processor::eSynchronisationType::eSynchronous);
            std::lock_guard<std::mutex> lock(m_mutex);
            m_result = std::move(r);
            m_done = true;
            m_cv.notify_all();
        });
    }

    /// Waits up to `timeout` seconds (negative: without limit) with the GIL released; true once done.
    bool wait(double timeout) {
        py::gil_scoped_release release;
        std::unique_lock<std::mutex> lock(m_mutex);
        if (timeout < 0) {
            m_cv.wait(lock, [this] { return m_done; });
        } else {
            m_cv.wait_for(lock, std::chrono::duration<double>(timeout), [this] { return m_done; });
        }
        const bool done = m_done;
        lock.unlock();
        if (done && m_thread.joinable()) m_thread.join();
        return done;
    }

    void cancel() { m_processor->requestCancellation(); }

    /// The outputs the library created, as canonical 5-d arrays (None for the
    /// caller's); raises the run's failure.
    py::list outputs(const py::list& dtypes) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_done) fail("value", "the run has not finished");
        }
        if (!m_result) fail(kindOf(m_result.getMessage()), m_result.getMessage());
        py::list result;
        const std::vector<image::ImagePtr> images = m_op->outputsOf(*m_processor);
        for (std::size_t i = 0; i < images.size(); ++i)
            result.append(images[i] ? arrayOf(images[i], dtypes[i].cast<py::dtype>()) : py::object(py::none()));
        return result;
    }

    /// Buffer types of the outputs as created (or given), in output order.
    std::vector<int> outputTypes() const {
        std::vector<int> types;
        for (const image::ImagePtr& img : m_op->outputsOf(*m_processor)) types.push_back(img ? img->getBufferType() : 0);
        return types;
    }

private:
    static catalogue::ArgumentValue argumentValue(const py::handle& v, const catalogue::ArgumentInfo& info) {
        if (v.is_none()) return std::monostate{};
        switch (info.kind) {
            case catalogue::eArgumentKind::eImage: {
                const auto pair = v.cast<py::tuple>();
                return image::ConstImagePtr(imageOf(pair[0].cast<py::array>(), ImageLayout::from(pair[1]), false));
            }
            case catalogue::eArgumentKind::eNumber: return v.cast<double>();
            case catalogue::eArgumentKind::eRange: {
                const auto pair = v.cast<std::pair<double, double>>();
                processor::Range r;
                r.Min = pair.first;
                r.Max = pair.second;
                return r;
            }
            case catalogue::eArgumentKind::eBufferType: return static_cast<eImageBufferType::domain>(v.cast<int>());
            case catalogue::eArgumentKind::eText: return v.cast<std::string>();
            case catalogue::eArgumentKind::eOther: break;
        }
        fail("value", info.name + " cannot be given from Python");
    }

    const catalogue::OperationInfo* m_op = nullptr;
    boost::shared_ptr<processor::BaseAsyncProcessor> m_processor;
    std::mutex m_mutex;
    std::condition_variable m_cv;
    bool m_done = false;
    processor::BoolResult m_result;
    std::thread m_thread;
};

py::list describeOperations() {
    py::list ops;
    for (const catalogue::OperationInfo& op : catalogue::operations()) {
        py::list args, outs;
        for (const catalogue::ArgumentInfo& a : op.arguments) {
            const char* kind = "other";
            switch (a.kind) {
                case catalogue::eArgumentKind::eImage: kind = "image"; break;
                case catalogue::eArgumentKind::eNumber: kind = "number"; break;
                case catalogue::eArgumentKind::eRange: kind = "range"; break;
                case catalogue::eArgumentKind::eBufferType: kind = "buffer_type"; break;
                case catalogue::eArgumentKind::eText: kind = "text"; break;
                case catalogue::eArgumentKind::eOther: break;
            }
            args.append(py::dict(py::arg("name") = a.name, py::arg("attribute") = a.attribute, py::arg("kind") = kind,
                                 py::arg("optional") = a.optional, py::arg("default") = a.defaultValue));
        }
        for (const catalogue::OutputInfo& o : op.outputs)
            outs.append(py::dict(py::arg("name") = o.name, py::arg("attribute") = o.attribute,
                                 py::arg("type_rule") = o.typeRule));
        ops.append(py::dict(py::arg("name") = op.snakeName(), py::arg("entry") = op.entryName,
                            py::arg("class_name") = op.className, py::arg("tool_tip") = op.toolTip,
                            py::arg("arguments") = args, py::arg("outputs") = outs));
    }
    return ops;
}

py::object resultType(const std::string& name, std::size_t output, const std::vector<int>& types) {
    const catalogue::OperationInfo* op = catalogue::findOperation(name);
    if (!op) fail("value", "no operation named '" + name + "'");
    if (output >= op->outputs.size()) fail("value", name + " has " + std::to_string(op->outputs.size()) + " outputs");
    std::vector<eImageBufferType::domain> domains;
    for (int t : types) domains.push_back(static_cast<eImageBufferType::domain>(t));
    const auto r = op->outputs[output].resultType(domains);
    return r ? py::object(py::int_(static_cast<int>(*r))) : py::object(py::none());
}

/// What the formula facility tells about a formula, as a dict.
py::dict explainFormula(const std::string& text, bool volume) {
    formula::FormulaCompileOptions options;
    options.Dimension = volume ? formula::eFormulaDimension::e3d : formula::eFormulaDimension::e2d;
    const formula::FormulaExplanation e = formula::explainFormula(text, options);
    py::list inputs, diagnostics;
    for (unsigned id : e.ImageIds) inputs.append(formula::imageName(id));
    for (const formula::FormulaDiagnostic& d : e.Diagnostics) {
        std::string line = d.Message;
        if (!d.SourceLine.empty()) line += "\n  " + d.SourceLine + "\n  " + d.CaretLine;
        if (!d.Hint.empty()) line += "\n  " + d.Hint;
        diagnostics.append(line);
    }
    const formula::FormulaCompileResult compiled = formula::compileFormula(text, options);
    const bool coordinates = compiled.Manager && (compiled.Manager->usesCoordinate(0) ||
                                                  compiled.Manager->usesCoordinate(1) ||
                                                  compiled.Manager->usesCoordinate(2));
    return py::dict(py::arg("valid") = e.Valid, py::arg("uses_coordinates") = coordinates, py::arg("normal_form") = e.NormalForm,
                    py::arg("logical") = e.ResultType != formula::eImageFormulaResultType::eNumeric,
                    py::arg("inputs") = inputs, py::arg("halo_before") = e.Halo.Before,
                    py::arg("halo_after") = e.Halo.After, py::arg("text") = e.Text,
                    py::arg("diagnostics") = diagnostics);
}

}  // namespace

PYBIND11_MODULE(_vimra, m) {
    m.doc() = "Native part of vimra: arrays as images, the operation catalogue, runs.";

    py::register_exception_translator([](std::exception_ptr p) {
        auto raise = [](const std::string& kind, const std::string& message) {
            py::object cls = py::module_::import("vimra._errors").attr("library_error")(kind);
            PyErr_SetString(cls.ptr(), message.c_str());
        };
        try {
            if (p) std::rethrow_exception(p);
        } catch (const Failure& f) {
            raise(f.kind, f.message);
        } catch (const image::ImageException& e) {
            raise(kindOf(e.getMessage()), e.getMessage());
        } catch (const core::BaseException& e) {
            raise(kindOf(e.getMessage()), e.getMessage());
        }
    });

    py::class_<Run>(m, "Run")
        .def(py::init<const std::string&, const py::list&, const py::list&, unsigned, int>())
        .def("execute", &Run::execute)
        .def("start", &Run::start)
        .def("wait", &Run::wait, py::arg("timeout") = -1.0)
        .def("cancel", &Run::cancel)
        .def("outputs", &Run::outputs)
        .def("output_types", &Run::outputTypes);

    m.def("operations", &describeOperations, "The library's operations as dicts, from its catalogue.");
    m.def("result_type", &resultType, "Buffer type a created output gets for the inputs' buffer types, or None.");
    m.def("explain_formula", &explainFormula, py::arg("text"), py::arg("volume") = false,
          "The formula facility's account of a formula: validity, inputs, halo, diagnostics.");
    m.def("instruction_set_available", [](int s) { return core::isAvailable(static_cast<eInstructionSet::domain>(s)); });
    m.def("is_library_array", [](const py::array& a) { return static_cast<bool>(libraryImageOf(a)); });
}

}  // namespace vimra::python
