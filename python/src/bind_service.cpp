// The server side: the fourteen functions of the C interface under their own
// names, with str for users and feature texts. As in C, false is the only
// report of a missing partition, a text that does not decode or a non-match;
// what Python can see to be wrong before the call (a wrong type, a NUL inside
// a string, a text longer than any template) raises instead. Every call runs
// with the interpreter lock released, so that Python threads match in
// parallel and no library lock is ever waited for while holding it.
#include <cstdint>
#include <string>

#include "arguments.h"
#include "bindings.h"
#include "palm/feature/unpack_feature.h"
#include "palm/service/palm_service.h"

namespace palm_python {

namespace {

int id_argument(py::handle id, char const* function) {
    return int_argument(id, argument{function, "id"}, INT32_MIN, INT32_MAX);
}

std::string user_argument(py::handle user, char const* function) {
    return text_argument(user, argument{function, "user"});
}

std::string feature_argument(py::handle text, char const* function, char const* name) {
    return text_argument(text, argument{function, name}, palm_feature::MAX_FEATURE_TEXT_LENGTH);
}

bool py_create_partition(py::handle id, py::handle parallel) {
    int const i = id_argument(id, "create_partition");
    int const p =
        int_argument(parallel, argument{"create_partition", "parallel"}, INT32_MIN, INT32_MAX);
    py::gil_scoped_release unlocked;
    return create_partition(i, p);
}

bool py_delete_partition(py::handle id) {
    int const i = id_argument(id, "delete_partition");
    py::gil_scoped_release unlocked;
    return delete_partition(i);
}

void py_clear_partitions() {
    py::gil_scoped_release unlocked;
    clear_partitions();
}

bool py_set_match_policy(py::handle id, py::handle policy) {
    int const i = id_argument(id, "set_match_policy");
    int const p =
        int_argument(policy, argument{"set_match_policy", "policy"}, INT32_MIN, INT32_MAX);
    py::gil_scoped_release unlocked;
    return set_match_policy(i, p);
}

bool py_push_template(py::handle user, py::handle text) {
    std::string const u = user_argument(user, "push_template");
    std::string const t = feature_argument(text, "push_template", "feature_text");
    py::gil_scoped_release unlocked;
    return push_template(u.c_str(), t.c_str());
}

bool py_delete_template(py::handle user) {
    std::string const u = user_argument(user, "delete_template");
    py::gil_scoped_release unlocked;
    return delete_template(u.c_str());
}

void py_clear_templates() {
    py::gil_scoped_release unlocked;
    clear_templates();
}

bool py_assign_user_to_partition(py::handle id, py::handle user) {
    int const i = id_argument(id, "assign_user_to_partition");
    std::string const u = user_argument(user, "assign_user_to_partition");
    py::gil_scoped_release unlocked;
    return assign_user_to_partition(i, u.c_str());
}

void py_remove_user_from_partition(py::handle id, py::handle user) {
    int const i = id_argument(id, "remove_user_from_partition");
    std::string const u = user_argument(user, "remove_user_from_partition");
    py::gil_scoped_release unlocked;
    remove_user_from_partition(i, u.c_str());
}

bool py_match_1v1(py::handle id, py::handle a, py::handle spare, py::handle b) {
    int const i = id_argument(id, "match_1v1");
    std::string const ta = feature_argument(a, "match_1v1", "feature_a");
    std::string const s = text_argument(spare, argument{"match_1v1", "spare"});
    std::string const tb = feature_argument(b, "match_1v1", "feature_b");
    py::gil_scoped_release unlocked;
    return match_1v1(i, ta.c_str(), s.c_str(), tb.c_str());
}

bool py_match_1v1_in_memory(py::handle id, py::handle text, py::handle spare, py::handle user) {
    int const i = id_argument(id, "match_1v1_in_memory");
    std::string const t = feature_argument(text, "match_1v1_in_memory", "feature_text");
    std::string const s = text_argument(spare, argument{"match_1v1_in_memory", "spare"});
    std::string const u = user_argument(user, "match_1v1_in_memory");
    py::gil_scoped_release unlocked;
    return match_1v1_in_memory(i, t.c_str(), s.c_str(), u.c_str());
}

bool py_match_1vN(py::handle id, py::handle text, py::handle spare) {
    int const i = id_argument(id, "match_1vN");
    std::string const t = feature_argument(text, "match_1vN", "feature_text");
    std::string const s = text_argument(spare, argument{"match_1vN", "spare"});
    py::gil_scoped_release unlocked;
    return match_1vN(i, t.c_str(), s.c_str());
}

py::str py_match_1vN_get_identify_user_name(py::handle id) {
    int const i = id_argument(id, "match_1vN_get_identify_user_name");
    std::string name;
    {
        py::gil_scoped_release unlocked;
        name = match_1vN_get_identify_user_name(i);
    }
    // A name pushed from C may not be UTF-8; its bytes survive the round trip.
    PyObject* s =
        PyUnicode_DecodeUTF8(name.data(), static_cast<Py_ssize_t>(name.size()), "surrogateescape");
    if (s == nullptr)
        throw py::error_already_set();
    return py::reinterpret_steal<py::str>(s);
}

void py_match_1vN_reset_identify_process(py::handle id) {
    int const i = id_argument(id, "match_1vN_reset_identify_process");
    py::gil_scoped_release unlocked;
    match_1vN_reset_identify_process(i);
}

}  // namespace

void bind_service(py::module_& m) {
    m.def("create_partition", &py_create_partition, py::arg("id"), py::arg("parallel") = 0,
          "Creates partition `id` (match policy 1); a non-zero `parallel` gives it worker\n"
          "threads. False when the id is taken.");
    m.def("delete_partition", &py_delete_partition, py::arg("id"),
          "Deletes a partition; false when there is none.");
    m.def("clear_partitions", &py_clear_partitions, "Deletes every partition.");
    m.def("set_match_policy", &py_set_match_policy, py::arg("id"), py::arg("policy"),
          "Sets the partition's match policy, 0 to 5; false for a missing partition or a\n"
          "policy out of range.");
    m.def("push_template", &py_push_template, py::arg("user"), py::arg("feature_text"),
          "Stores (or replaces) the template of `user`; false when the text does not\n"
          "decode.");
    m.def("delete_template", &py_delete_template, py::arg("user"),
          "Forgets a user's template; false when the name was unknown.");
    m.def("clear_templates", &py_clear_templates, "Forgets every template.");
    m.def("assign_user_to_partition", &py_assign_user_to_partition, py::arg("id"), py::arg("user"),
          "Adds a user to a partition; true when newly assigned.");
    m.def("remove_user_from_partition", &py_remove_user_from_partition, py::arg("id"),
          py::arg("user"), "Takes a user out of a partition.");
    m.def("match_1v1", &py_match_1v1, py::arg("id"), py::arg("feature_a"), py::arg("spare"),
          py::arg("feature_b"),
          "True when two feature texts are the same hand under the partition's policy.\n"
          "`spare` is carried through and not read.");
    m.def("match_1v1_in_memory", &py_match_1v1_in_memory, py::arg("id"), py::arg("feature_text"),
          py::arg("spare"), py::arg("user"),
          "True when a feature text matches the stored template of `user`.");
    m.def("match_1vN", &py_match_1vN, py::arg("id"), py::arg("feature_text"), py::arg("spare"),
          "True when a user of the partition was identified; the name is then fetched\n"
          "with match_1vN_get_identify_user_name on the same thread.");
    m.def("match_1vN_get_identify_user_name", &py_match_1vN_get_identify_user_name, py::arg("id"),
          "The name this thread's last true match_1vN on the partition identified; ''\n"
          "when there is none.");
    m.def("match_1vN_reset_identify_process", &py_match_1vN_reset_identify_process, py::arg("id"),
          "Empties this thread's identified name on the partition.");
}

}  // namespace palm_python
