"""The model file list: appending, the substring match, and what a removal tidies up."""
from __future__ import annotations

import pytest

from expect import COMPLETED, FAILED, answer
from framework import BASE, LIST, PUMP, VALVE, Framework, model
from sandbox import Result, Sandbox

ROOM = "/opt/qor/models"


def commit(tool: Sandbox, framework: Framework, old: str, *entries: str) -> tuple[Result, str]:
    """Commit these actions with this list; the answer and the new list."""
    framework.write(LIST, old)
    framework.session("".join(f"{entry}\n" for entry in entries))
    return tool.run("--commit"), framework.read(LIST)


def exists(path: str) -> str:
    return f"Modelfile entry already exists: {path}\nSkipping adding of modelfile."


def removed(line: str) -> str:
    return f"Found and removed model entry: {line}"


def test_appending_to_an_empty_list_gives_one_line(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, "", f"0:{PUMP}") == (answer(COMPLETED), f"{PUMP}\n")


def test_appending_keeps_what_is_there_as_it_is(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, f"\n  {BASE} \n\n", f"0:{PUMP}") == (answer(COMPLETED), f"\n  {BASE} \n\n{PUMP}\n")


def test_appending_to_a_last_line_without_line_end_joins_the_two(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, BASE, f"0:{PUMP}") == (answer(COMPLETED), f"{BASE}{PUMP}\n")


def test_the_beginning_of_a_listed_path_counts_as_listed(tool: Sandbox, framework: Framework) -> None:
    framework.write("models/ba", model("Ba"))
    assert commit(tool, framework, f"{BASE}\n", f"0:{ROOM}/ba") == (answer(exists(f"{ROOM}/ba"), COMPLETED),
                                                                   f"{BASE}\n")


def test_any_part_of_the_list_counts_as_listed(tool: Sandbox, framework: Framework) -> None:
    framework.write("listed", "")
    listing = "/somewhere/opt/qor/listed/else\n"
    assert commit(tool, framework, listing, "0:/opt/qor/listed") == (answer(exists("/opt/qor/listed"), COMPLETED),
                                                                    listing)


def test_a_longer_path_than_the_listed_one_is_added(tool: Sandbox, framework: Framework) -> None:
    framework.write("models/base.xml.new", model("New"))
    assert commit(tool, framework, f"{BASE}\n", f"0:{BASE}.new") == (answer(COMPLETED), f"{BASE}\n{BASE}.new\n")


def test_the_match_is_case_sensitive(tool: Sandbox, framework: Framework) -> None:
    framework.write("models/BASE.xml", model("Base"))
    assert commit(tool, framework, f"{BASE}\n", f"0:{ROOM}/BASE.xml") == (answer(COMPLETED),
                                                                         f"{BASE}\n{ROOM}/BASE.xml\n")


def test_a_file_added_twice_in_a_session_is_listed_once(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, "", f"0:{PUMP}", f"0:{PUMP}") == (answer(exists(PUMP), COMPLETED), f"{PUMP}\n")


def test_a_file_added_and_removed_in_a_session_is_not_listed(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, "", f"0:{PUMP}", f"2:{PUMP}") == (answer(removed(PUMP), COMPLETED), "")


def test_a_file_removed_and_added_in_a_session_moves_to_the_end(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, f"{PUMP}\n{BASE}\n", f"2:{PUMP}", f"0:{PUMP}") == (
        answer(removed(PUMP), COMPLETED), f"{BASE}\n{PUMP}\n")


def test_removing_takes_out_every_line_with_the_entry(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, f"{PUMP}\n{BASE}\n{PUMP}\n", f"2:{PUMP}") == (
        answer(removed(PUMP), removed(PUMP), COMPLETED), f"{BASE}\n")


def test_removing_takes_out_lines_that_only_contain_the_entry(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, f"{BASE}.old\n{VALVE}\nx{BASE}\n", f"2:{BASE}") == (
        answer(removed(f"{BASE}.old"), removed(f"x{BASE}"), COMPLETED), f"{VALVE}\n")


def test_removing_a_directory_takes_out_everything_below(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, f"{BASE}\n/elsewhere.xml\n{PUMP}\n", f"2:{ROOM}") == (
        answer(removed(BASE), removed(PUMP), COMPLETED), "/elsewhere.xml\n")


@pytest.mark.parametrize("old", [f"\n  {VALVE}\t\n\n{PUMP}\n \n", f"{VALVE}\r\n{PUMP}\r\n", f"{VALVE}\n{PUMP}"],
                         ids=["blanks", "carriage returns", "no line end"])
def test_removing_tidies_the_other_lines(tool: Sandbox, framework: Framework, old: str) -> None:
    assert commit(tool, framework, old, f"2:{PUMP}") == (answer(removed(PUMP), COMPLETED), f"{VALVE}\n")


def test_removing_what_is_not_listed_leaves_the_list_as_it_is(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, f"\n {BASE}", f"2:{PUMP}") == (
        answer("Model file entry missing, skipping removal.", COMPLETED), f"\n {BASE}")


def test_removing_the_last_line_leaves_an_empty_list(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, f"{BASE}\n", f"2:{BASE}") == (answer(removed(BASE), COMPLETED), "")


def test_blanks_in_a_listed_path_belong_to_it(tool: Sandbox, framework: Framework) -> None:
    framework.write("models/two words.xml", model("Words"))
    assert commit(tool, framework, "", f"0:{ROOM}/two words.xml") == (answer(COMPLETED), f"{ROOM}/two words.xml\n")


def test_a_relative_path_is_looked_for_in_the_working_directory(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, "", "0:models/pump.xml") == (
        answer("Cannot find the model file: models/pump.xml", FAILED, status=255), "")


def test_a_long_list_is_kept_whole(tool: Sandbox, framework: Framework) -> None:
    listing = "".join(f"/opt/models/number-{number}.xml\n" for number in range(20_000))
    assert commit(tool, framework, listing, f"0:{PUMP}") == (answer(COMPLETED), listing + f"{PUMP}\n")
