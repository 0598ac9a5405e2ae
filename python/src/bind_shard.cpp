// palm.GalleryShard: one part of a gallery spread over processes, answering
// the stages of an identification one by one, and select_candidate, the
// last stage, for the verdicts gathered from all parts. A gallery that merges
// the coarse lists of its parts by (distance, order of assignment over the
// whole gallery), asks each part for the verdicts of its own candidates and
// selects among them in the merged order answers as one parallel partition of
// all the users would. Matching runs with the interpreter lock released.
#include <pybind11/stl.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "arguments.h"
#include "bindings.h"
#include "palm/feature/unpack_feature.h"
#include "palm/recognition/candidate_selection.h"
#include "palm/recognition/gallery_shard.h"

namespace palm_python {

namespace {

using palm_recognition::candidate_verdict;
using palm_recognition::gallery_shard;

typedef std::tuple<bool, double, double, int> verdict_tuple;

// A name from the store; bytes that are not UTF-8 survive the round trip.
py::str name_object(std::string const& name) {
    PyObject* s =
        PyUnicode_DecodeUTF8(name.data(), static_cast<Py_ssize_t>(name.size()), "surrogateescape");
    if (s == nullptr)
        throw py::error_already_set();
    return py::reinterpret_steal<py::str>(s);
}

std::string user_argument(py::handle user, char const* function) {
    return text_argument(user, argument{function, "user"});
}

std::string probe_argument(py::handle text, char const* function) {
    return text_argument(text, argument{function, "text"}, palm_feature::MAX_FEATURE_TEXT_LENGTH);
}

// A probe that must decode: the stages have no answer for one that does not.
palm_feature::user_palm_feature decoded_probe(py::handle text, char const* function) {
    std::string const t = probe_argument(text, function);
    palm_feature::user_palm_feature probe;
    bool ok;
    {
        py::gil_scoped_release unlocked;
        ok = gallery_shard::decode(t.c_str(), probe);
    }
    if (!ok)
        throw py::value_error(std::string(function) + "(text): not a feature text");
    return probe;
}

gallery_shard::cell_type const& probe_cell(palm_feature::user_palm_feature const& probe,
                                           py::handle cell, char const* function) {
    int const c = int_argument(cell, argument{function, "cell"}, INT32_MIN, INT32_MAX);
    if (c < 0 || c >= probe.size()) {
        throw py::value_error(std::string(function) + "(cell): " + std::to_string(c) +
                              " is not a cell of a probe of " + std::to_string(probe.size()));
    }
    return probe[c];
}

std::unique_ptr<gallery_shard> make_shard(py::handle policy, py::handle workers) {
    int const p = int_argument(policy, argument{"GalleryShard", "policy"}, 0, 5);
    int const w = int_argument(workers, argument{"GalleryShard", "workers"}, 0, 1024);
    py::gil_scoped_release unlocked;
    return std::unique_ptr<gallery_shard>(new gallery_shard(p, static_cast<unsigned>(w)));
}

// A text where a false answer covers every unusable one, as in the C
// interface: only a wrong type raises. False when the text is too long or
// holds a NUL, which no feature text does.
bool usable_text(py::handle text, char const* function, std::string& out) {
    if (!PyUnicode_Check(text.ptr()) && !PyBytes_Check(text.ptr()))
        throw py::type_error(std::string(function) + "(text): expected str, got " +
                             std::string(py::str(py::type::handle_of(text).attr("__name__"))));
    try {
        out = probe_argument(text, function);
    } catch (py::value_error const&) {
        return false;
    }
    return true;
}

bool shard_push(gallery_shard& s, py::handle user, py::handle text) {
    std::string const u = user_argument(user, "GalleryShard.push");
    std::string t;
    if (!usable_text(text, "GalleryShard.push", t))
        return false;
    py::gil_scoped_release unlocked;
    return s.push(u.c_str(), t.c_str());
}

bool shard_delete(gallery_shard& s, py::handle user) {
    std::string const u = user_argument(user, "GalleryShard.delete");
    py::gil_scoped_release unlocked;
    return s.erase(u.c_str());
}

bool shard_set_match_policy(gallery_shard& s, py::handle policy) {
    int const p = int_argument(policy, argument{"GalleryShard.set_match_policy", "policy"},
                               INT32_MIN, INT32_MAX);
    py::gil_scoped_release unlocked;
    return s.set_match_policy(p);
}

py::list shard_users(gallery_shard const& s) {
    std::vector<std::string> users;
    {
        py::gil_scoped_release unlocked;
        users = s.users();
    }
    py::list out;
    for (std::string const& u : users)
        out.append(name_object(u));
    return out;
}

int shard_cells(gallery_shard const&, py::handle text) {
    return decoded_probe(text, "GalleryShard.cells").size();
}

py::tuple verdict_object(candidate_verdict const& v) {
    return py::make_tuple(v.accepted, static_cast<double>(v.print_dist),
                          static_cast<double>(v.vein_dist), v.cell);
}

py::list shard_coarse(gallery_shard const& s, py::handle text, py::handle cell) {
    palm_feature::user_palm_feature const probe = decoded_probe(text, "GalleryShard.coarse");
    gallery_shard::cell_type const& c = probe_cell(probe, cell, "GalleryShard.coarse");
    std::vector<gallery_shard::coarse_user> list;
    bool ok;
    {
        py::gil_scoped_release unlocked;
        ok = s.coarse(c, list);
    }
    if (!ok)
        throw std::runtime_error("GalleryShard.coarse: a worker of the search failed");
    py::list out;
    for (auto const& e : list)
        out.append(py::make_tuple(e.distance, e.order, name_object(e.user)));
    return out;
}

py::list shard_fine(gallery_shard const& s, py::handle text, py::handle cell, py::handle users) {
    palm_feature::user_palm_feature const probe = decoded_probe(text, "GalleryShard.fine");
    gallery_shard::cell_type const& c = probe_cell(probe, cell, "GalleryShard.fine");
    if (!PyList_Check(users.ptr()) && !PyTuple_Check(users.ptr()))
        throw py::type_error("GalleryShard.fine(users): expected a list of str");
    std::vector<std::string> names;
    for (py::handle u : py::reinterpret_borrow<py::sequence>(users))
        names.push_back(text_argument(u, argument{"GalleryShard.fine", "users"}));
    std::vector<candidate_verdict> verdicts;
    {
        py::gil_scoped_release unlocked;
        verdicts = s.fine(c, names);
    }
    py::list out;
    for (candidate_verdict const& v : verdicts)
        out.append(verdict_object(v));
    return out;
}

// Both stages for the coarse list's own users, the probe decoded once: what a
// gallery asks of each shard, so that one round trip serves a probe cell.
py::list shard_coarse_fine(gallery_shard const& s, py::handle text, py::handle cell) {
    palm_feature::user_palm_feature const probe = decoded_probe(text, "GalleryShard.coarse_fine");
    gallery_shard::cell_type const& c = probe_cell(probe, cell, "GalleryShard.coarse_fine");
    std::vector<gallery_shard::coarse_user> list;
    std::vector<candidate_verdict> verdicts;
    bool ok;
    {
        py::gil_scoped_release unlocked;
        ok = s.coarse_fine(c, list, verdicts);
    }
    if (!ok)
        throw std::runtime_error("GalleryShard.coarse_fine: a worker of the search failed");
    py::list out;
    for (std::size_t i = 0; i < list.size(); ++i)
        out.append(py::make_tuple(list[i].distance, name_object(list[i].user),
                                  verdict_object(verdicts[i])));
    return out;
}

bool shard_verify(gallery_shard const& s, py::handle user, py::handle text) {
    std::string const u = user_argument(user, "GalleryShard.verify");
    std::string t;
    if (!usable_text(text, "GalleryShard.verify", t))
        return false;
    py::gil_scoped_release unlocked;
    return s.verify(u.c_str(), t.c_str());
}

py::object shard_identify(gallery_shard& s, py::handle text) {
    std::string t;
    if (!usable_text(text, "GalleryShard.identify", t))
        return py::none();
    std::string name;
    bool found;
    {
        py::gil_scoped_release unlocked;
        found = s.identify(t.c_str(), name);
    }
    if (!found)
        return py::none();
    return name_object(name);
}

int select(std::vector<verdict_tuple> const& results) {
    std::vector<candidate_verdict> verdicts;
    verdicts.reserve(results.size());
    for (verdict_tuple const& r : results)
        verdicts.push_back(candidate_verdict{std::get<0>(r), static_cast<float>(std::get<1>(r)),
                                             static_cast<float>(std::get<2>(r)), std::get<3>(r)});
    return palm_recognition::select_candidate(verdicts);
}

}  // namespace

void bind_shard(py::module_& m) {
    py::class_<gallery_shard>(
        m, "GalleryShard",
        "One part of a sharded gallery: a store and one parallel partition holding its\n"
        "users in the order of their first push, answering the stages of an\n"
        "identification separately.")
        .def(py::init(&make_shard), py::arg("policy") = 1, py::arg("workers") = 0,
             "A shard under match `policy` (0 to 5) whose search runs on `workers`\n"
             "threads, 0 for one per processor.")
        .def("push", &shard_push, py::arg("user"), py::arg("text"),
             "Stores the user's template; a new user joins the end of the users. False,\n"
             "with nothing stored, for an empty user or a text that is not a template.")
        .def("delete", &shard_delete, py::arg("user"),
             "Forgets a user and its template; false when it was unknown.")
        .def("set_match_policy", &shard_set_match_policy, py::arg("policy"),
             "Sets the match policy; false outside 0 to 5.")
        .def_property_readonly("policy", &gallery_shard::policy)
        .def("__len__", &gallery_shard::size)
        .def("users", &shard_users, "The users in the order of their first push.")
        .def("memory_bytes", &gallery_shard::memory_bytes,
             "An estimate of the bytes the shard's users take.")
        .def("cells", &shard_cells, py::arg("text"),
             "The number of cells of a probe; ValueError when the text does not decode.")
        .def("coarse", &shard_coarse, py::arg("text"), py::arg("cell"),
             "The coarse stage of one probe cell: the best 50 (or fewer) as (distance,\n"
             "index among the users, user), sorted by distance and index.")
        .def("fine", &shard_fine, py::arg("text"), py::arg("cell"), py::arg("users"),
             "The fine and verify stages of one probe cell for the given users, in\n"
             "order: (accepted, print distance, vein distance, cell) each; an unknown\n"
             "user gets (False, 1.0, 1.0, -1).")
        .def("coarse_fine", &shard_coarse_fine, py::arg("text"), py::arg("cell"),
             "coarse, then fine for the users of its list: (distance, user, verdict)\n"
             "each, in the order of coarse. A verdict depends only on the probe and the\n"
             "user's template, so a gallery that merges these lists needs no second call.")
        .def("verify", &shard_verify, py::arg("user"), py::arg("text"),
             "One to one against a stored user under the shard's policy.")
        .def("identify", &shard_identify, py::arg("text"),
             "The partition's own identification: the user, or None.");
    m.def("select_candidate", &select, py::arg("results"),
          "The index of the chosen verdict among (accepted, print distance, vein\n"
          "distance, cell) tuples in list order, or -1: the smallest squared distance\n"
          "in single precision among the accepted, the earlier on a tie.");
}

}  // namespace palm_python
