"""The server-side functions with Python strings."""

import threading

import pytest

import palm

PARTITION = 9001


def record(regions):
    return [(palm.extract(regions[0]), palm.extract(regions[1]))]


@pytest.fixture
def partition(regions, other_regions):
    palm.clear_templates()
    palm.clear_partitions()
    assert palm.create_partition(PARTITION, 1)
    alice, _ = palm.crypt_feature(record(regions))
    bob, _ = palm.crypt_feature(record(other_regions))
    assert palm.push_template("alice", alice)
    assert palm.push_template("bøb", bob)
    assert palm.assign_user_to_partition(PARTITION, "alice")
    assert palm.assign_user_to_partition(PARTITION, "bøb")
    yield alice, bob
    palm.clear_partitions()
    palm.clear_templates()


def test_one_to_one_and_one_to_many_answer_with_python_strings(partition):
    alice, bob = partition
    assert palm.match_1v1(PARTITION, alice, "", alice)
    assert not palm.match_1v1(PARTITION, alice, "", bob)
    assert palm.match_1v1_in_memory(PARTITION, bob, "", "bøb")
    assert not palm.match_1v1_in_memory(PARTITION, bob, "", "alice")
    assert palm.match_1vN(PARTITION, bob, "")
    assert palm.match_1vN_get_identify_user_name(PARTITION) == "bøb"
    palm.match_1vN_reset_identify_process(PARTITION)
    assert palm.match_1vN_get_identify_user_name(PARTITION) == ""


def test_the_identified_name_belongs_to_the_thread_that_identified(partition):
    alice, _ = partition
    assert palm.match_1vN(PARTITION, alice, "")
    seen = []
    t = threading.Thread(target=lambda: seen.append(
        palm.match_1vN_get_identify_user_name(PARTITION)))
    t.start()
    t.join()
    assert seen == [""]
    assert palm.match_1vN_get_identify_user_name(PARTITION) == "alice"


def test_a_missing_partition_gives_false_or_an_empty_name(partition):
    alice, _ = partition
    assert not palm.match_1v1(PARTITION + 1, alice, "", alice)
    assert not palm.match_1vN(PARTITION + 1, alice, "")
    assert palm.match_1vN_get_identify_user_name(PARTITION + 1) == ""
    assert not palm.set_match_policy(PARTITION + 1, 1)
    assert not palm.delete_partition(PARTITION + 1)


def test_partitions_templates_and_users_report_as_in_c(partition):
    assert not palm.create_partition(PARTITION, 0)  # taken
    assert palm.create_partition(PARTITION + 2, 2)  # any non-zero is parallel
    assert palm.set_match_policy(PARTITION, 5)
    assert not palm.set_match_policy(PARTITION, 6)
    assert not palm.assign_user_to_partition(PARTITION, "alice")  # already assigned
    palm.remove_user_from_partition(PARTITION, "alice")
    assert palm.delete_template("alice")
    assert not palm.delete_template("alice")
    assert not palm.push_template("carol", "not a feature text")
    assert palm.delete_partition(PARTITION + 2)


def test_a_text_that_does_not_decode_is_a_plain_false(partition):
    alice, _ = partition
    assert not palm.match_1v1(PARTITION, alice, "", alice[:896])
    assert not palm.match_1vN(PARTITION, "x" * 1032, "")


@pytest.mark.parametrize("call", [
    lambda: palm.create_partition(None, 0),
    lambda: palm.create_partition("1", 0),
    lambda: palm.push_template(None, "text"),
    lambda: palm.push_template("user", None),
    lambda: palm.push_template("user", 5),
    lambda: palm.match_1v1(1, "a", None, "b"),
    lambda: palm.match_1vN(1.5, "a", ""),
    lambda: palm.match_1v1_in_memory(1, "a", "", ["user"]),
    lambda: palm.assign_user_to_partition(1, None),
])
def test_arguments_of_the_wrong_type_are_type_errors(call):
    with pytest.raises(TypeError):
        call()


@pytest.mark.parametrize("call", [
    lambda: palm.create_partition(2**31, 0),
    lambda: palm.push_template("us\0er", "text"),
    lambda: palm.push_template("user", "A" * (palm.MAX_FEATURE_TEXT_LENGTH + 4)),
    lambda: palm.match_1v1(1, "A" * 200000, "", "b"),
    lambda: palm.match_1vN(1, "AAAA\0AAAA", ""),
    lambda: palm.delete_template("\0"),
])
def test_unusable_values_are_value_errors(call):
    with pytest.raises(ValueError):
        call()
