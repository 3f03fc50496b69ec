"""The configuration document: what each action makes of it, and what passes through untouched."""
from __future__ import annotations

import pytest

from expect import COMPLETED, FAILED, answer, error, warning
from framework import (AUX, BASE, BROKEN, CONFIG, CONFIG_TMP, LIST, MISSING, NAMELESS, PLACEHOLDER, PUMP, ROOTLESS, VALVE,
                       Framework, config, participant)
from sandbox import Result, Sandbox

TWO = config(participant("baseHandler", "Base"), participant("auxHandler", "Aux"))
NO_ROOT_CLASS = "Unable to locate root class in model file."
UNREADABLE = "Unable to parse and get the root class name from the model file."
NO_NAME = "Invalid component name!\nAborting."


def commit(tool: Sandbox, framework: Framework, document: str, *entries: str) -> tuple[Result, str]:
    """Commit these actions with this document; the answer and the new document."""
    framework.write(CONFIG, document)
    framework.session("".join(f"{entry}\n" for entry in entries))
    return tool.run("--commit"), framework.read(CONFIG)


def done(*lines: str) -> Result:
    return answer(*lines, COMPLETED)


def failed(*lines: str) -> Result:
    return answer(*lines, FAILED, status=255)


def add(model: str, handler: str, mo: str = "1", tr: str = "1") -> str:
    return f"3:{model}|{handler}|{mo}|{tr}"


def remove(model: str, handler: str) -> str:
    return f"4:{model}|{handler}|1|1"


def handler(name: str, mo: str = "1", tr: str = "1") -> str:
    return f"1:{name}|{mo}|{tr}"


def new_handler(name: str, root: str) -> str:
    return f"Adding new handler: {name} with root class: {root}"


def served(name: str, root: str) -> str:
    return f"Model handler : {name} for Root element: {root} already exists"


def refused(model: str) -> str:
    return f"Invalid model file: {model}\nAborting."


# --- the placeholder ---------------------------------------------------------------------------------------------------


def test_an_addition_takes_the_placeholder_over(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, config(participant(PLACEHOLDER), participant("baseHandler", "Base")),
                  add(PUMP, "pumpHandler", "2", "3")) == (
        done("Replaced default QOR component tag with: pumpHandler", "Found handler: pumpHandler"),
        config(participant("pumpHandler", "Pump", mo="2", tr="3"), participant("baseHandler", "Base")))


def test_a_handler_alone_takes_the_placeholder_over(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, config(participant(PLACEHOLDER, "Any")), handler("h", "2", "3")) == (
        done("Replaced default QOR component tag with: h"), config(participant("h", "Any", mo="2", tr="3")))


def test_roots_of_the_placeholder_stay(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, config(participant(PLACEHOLDER, "Any")), add(PUMP, "h")) == (
        done("Replaced default QOR component tag with: h", "Found handler: h"), config(participant("h", "Any", "Pump")))


def test_a_root_that_the_placeholder_serves_already_is_not_added_again(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, config(participant(PLACEHOLDER, "Pump")), add(PUMP, "h", "2", "3")) == (
        done("Replaced default QOR component tag with: h", "Found handler: h",
             "Root element Pump already exist in h\nSkipping add."), config(participant("h", "Pump", mo="2", tr="3")))


def test_only_the_first_handler_is_looked_at_for_the_placeholder(tool: Sandbox, framework: Framework) -> None:
    document = config(participant("baseHandler", "Base"), participant(PLACEHOLDER))
    assert commit(tool, framework, document, handler("h")) == (
        failed("Default model handler not found, ignoring modelHandler update!"), document)


def test_an_addition_passes_a_later_placeholder_by(tool: Sandbox, framework: Framework) -> None:
    base, placeholder = participant("baseHandler", "Base"), participant(PLACEHOLDER)
    assert commit(tool, framework, config(base, placeholder), add(PUMP, "h")) == (
        done(new_handler("h", "Pump")), config(base, placeholder, participant("h", "Pump")))


def half_placeholder(managed: str, resource: str, *, root: str = "", mo: str = "1", tr: str = "1") -> str:
    """A document with one handler whose two interfaces may differ in name."""
    return (config(participant(managed, *filter(None, [root]), mo=mo, tr=tr))
            .replace(f'<txResource compName="{managed}"', f'<txResource compName="{resource}"'))


def test_a_resource_of_another_name_is_not_taken_over(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, half_placeholder(PLACEHOLDER, "other"), add(PUMP, "h", "2", "3")) == (
        done("Replaced default QOR component tag with: h", "Found handler: h"),
        half_placeholder("h", "other", root="Pump", mo="2"))


def test_a_handler_alone_with_a_resource_of_another_name_is_not_written(tool: Sandbox, framework: Framework) -> None:
    document = half_placeholder(PLACEHOLDER, "other")
    assert commit(tool, framework, document, handler("h", "2", "3")) == (
        done("Replaced default QOR component tag with: h"), document)


def test_only_the_first_resource_is_looked_at(tool: Sandbox, framework: Framework) -> None:
    first = participant(PLACEHOLDER).replace(
        f'\t\t\t<txResource compName="{PLACEHOLDER}" ifName="PelOamSpiTransactionalResource" version="1"/>\n', "")
    expected_first = participant("h", mo="2").replace(
        '\t\t\t<txResource compName="h" ifName="PelOamSpiTransactionalResource" version="1"/>\n', "")
    resource = participant("other").replace('txResource compName="other"', f'txResource compName="{PLACEHOLDER}"')
    expected = participant("other", tr="3").replace('txResource compName="other"', 'txResource compName="h"')
    assert commit(tool, framework, config(first, resource), handler("h", "2", "3")) == (
        done("Replaced default QOR component tag with: h"), config(expected_first, expected))


def test_a_placeholder_without_resource_is_taken_over(tool: Sandbox, framework: Framework) -> None:
    document = (f'<qor>\n\t<participants>\n\t\t<participant>\n\t\t\t<roots/>\n\t\t\t<managedObject compName="{PLACEHOLDER}"/>\n'
                "\t\t</participant>\n\t</participants>\n</qor>\n")
    assert commit(tool, framework, document, add(PUMP, "h", "2", "3")) == (
        done("Replaced default QOR component tag with: h", "Found handler: h"),
        '<qor>\n\t<participants>\n\t\t<participant>\n\t\t\t<roots>\n\t\t\t\t<root name="Pump"/>\n\t\t\t</roots>\n'
        '\t\t\t<managedObject compName="h" version="2"/>\n\t\t</participant>\n\t</participants>\n</qor>\n')


def test_an_unreadable_model_does_not_keep_the_placeholder(tool: Sandbox, framework: Framework) -> None:
    result, document = commit(tool, framework, config(participant(PLACEHOLDER)), add(BROKEN, "h"))
    assert result == done("Replaced default QOR component tag with: h", "Found handler: h", UNREADABLE)
    assert document == config(participant("h"))
    assert framework.read(LIST) == f"{BASE}\n{BROKEN}\n"


def test_a_missing_model_with_the_placeholder_fails_only_at_the_list(tool: Sandbox, framework: Framework) -> None:
    result, document = commit(tool, framework, config(participant(PLACEHOLDER)), add(MISSING, "h"))
    assert result == failed("Replaced default QOR component tag with: h", "Found handler: h", UNREADABLE,
                            f"Cannot find the model file: {MISSING}")
    assert document == config(participant("h"))


def test_a_model_without_root_gives_the_placeholder_a_root_without_name(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, config(participant(PLACEHOLDER)), add(ROOTLESS, "h")) == (
        done("Replaced default QOR component tag with: h", "Found handler: h", NO_ROOT_CLASS),
        config(participant("h", "")))


def test_a_second_addition_finds_no_placeholder_any_more(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, config(participant(PLACEHOLDER)), add(PUMP, "g"), add(VALVE, "h")) == (
        done("Replaced default QOR component tag with: g", "Found handler: g", new_handler("h", "Valve")),
        config(participant("g", "Pump"), participant("h", "Valve")))


def test_a_document_without_any_handler_refuses_an_addition_without_a_word(tool: Sandbox,
                                                                           framework: Framework) -> None:
    for entry in (add(PUMP, "h"), handler("h")):
        assert commit(tool, framework, config(), entry) == (failed(), config())
        framework.remove(f"{CONFIG}.bak", f"{LIST}.bak")


def test_the_document_is_left_alone_when_no_action_concerns_it(tool: Sandbox, framework: Framework) -> None:
    document = "<?xml version='1.0'?>\r\n<a   z='1' b='2'>\r\n</a>"
    assert commit(tool, framework, document, f"0:{PUMP}") == (done(), document)


# --- adding ------------------------------------------------------------------------------------------------------------


def test_a_new_handler_becomes_the_last_one(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, TWO, add(PUMP, "h", "3", "1")) == (
        done(new_handler("h", "Pump")),
        config(participant("baseHandler", "Base"), participant("auxHandler", "Aux"),
               participant("h", "Pump", mo="3", tr="1")))


def test_a_new_root_is_appended_to_its_handler_whose_versions_stay(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, TWO, add(PUMP, "baseHandler", "8", "9")) == (
        done("Found handler: baseHandler"),
        config(participant("baseHandler", "Base", "Pump"), participant("auxHandler", "Aux")))


def test_two_models_for_a_new_handler_share_it(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, TWO, add(PUMP, "h"), add(VALVE, "h")) == (
        done(new_handler("h", "Pump"), "Found handler: h"),
        config(participant("baseHandler", "Base"), participant("auxHandler", "Aux"),
               participant("h", "Pump", "Valve")))


def test_a_root_that_its_handler_serves_already_changes_nothing(tool: Sandbox, framework: Framework) -> None:
    document = "<!-- kept as it is --><a>" + TWO.replace("\t", "  ") + "</a>"
    result, after = commit(tool, framework, document, add(AUX, "auxHandler"))
    assert (result, after) == (done(served("auxHandler", "Aux")), document)
    assert framework.read(LIST) == f"{BASE}\n{AUX}\n"


def test_a_root_that_another_handler_serves_is_refused(tool: Sandbox, framework: Framework) -> None:
    result, after = commit(tool, framework, TWO, add(AUX, "baseHandler"))
    assert (result, after) == (failed(served("auxHandler", "Aux")), TWO)
    assert framework.read(LIST) == f"{BASE}\n"


def test_names_of_handlers_are_compared_to_the_letter(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, TWO, add(AUX, "AuxHandler")) == (failed(served("auxHandler", "Aux")), TWO)


def test_names_of_roots_are_compared_to_the_letter(tool: Sandbox, framework: Framework) -> None:
    base, aux = participant("baseHandler", "Base"), participant("auxHandler", "AUX")
    assert commit(tool, framework, config(base, aux), add(AUX, "h")) == (
        done(new_handler("h", "Aux")), config(base, aux, participant("h", "Aux")))


def test_with_two_containers_another_handlers_root_is_not_seen(tool: Sandbox, framework: Framework) -> None:
    base, aux = participant("baseHandler", "Base"), participant("auxHandler", "Aux")
    second = f"\t<participants>\n{aux}\t</participants>\n</qor>"
    document = config(base).replace("</qor>", second)
    assert commit(tool, framework, document, add(AUX, "h")) == (
        done(new_handler("h", "Aux")), config(base, participant("h", "Aux")).replace("</qor>", second))


def test_with_two_containers_the_own_root_is_found_at_the_handler(tool: Sandbox, framework: Framework) -> None:
    document = TWO.replace("</qor>", "\t<participants/>\n</qor>")
    assert commit(tool, framework, document, add(AUX, "auxHandler")) == (
        done("Found handler: auxHandler", "Root element Aux already exist in auxHandler\nSkipping add."), document)


def test_a_handler_with_two_lists_of_roots_is_not_seen_to_serve_them(tool: Sandbox, framework: Framework) -> None:
    twofold = participant("auxHandler", "Aux").replace("\t\t\t<managedObject", "\t\t\t<roots/>\n\t\t\t<managedObject")
    base = participant("baseHandler", "Base")
    assert commit(tool, framework, config(base, twofold), add(AUX, "h")) == (
        done(new_handler("h", "Aux")), config(base, twofold, participant("h", "Aux")))


def test_only_the_first_list_of_roots_takes_a_new_root(tool: Sandbox, framework: Framework) -> None:
    second = "\t\t\t<roots/>\n\t\t\t<managedObject"
    base = participant("baseHandler", "Base")
    before = participant("auxHandler", "Aux").replace("\t\t\t<managedObject", second)
    after = participant("auxHandler", "Aux", "Pump").replace("\t\t\t<managedObject", second)
    assert commit(tool, framework, config(base, before), add(PUMP, "auxHandler")) == (
        done("Found handler: auxHandler"), config(base, after))


def test_a_serving_participant_without_handler_name_is_no_other_handler_to_name(tool: Sandbox,
                                                                                framework: Framework) -> None:
    nameless = '\t\t<participant>\n\t\t\t<roots>\n\t\t\t\t<root name="Pump"/>\n\t\t\t</roots>\n\t\t</participant>\n'
    document = config(participant("baseHandler", "Base"), nameless)
    assert commit(tool, framework, document, add(PUMP, "h")) == (failed(), document)


def test_a_handler_without_roots_takes_nothing_and_no_second_one_is_registered(tool: Sandbox,
                                                                               framework: Framework) -> None:
    bare = participant("auxHandler").replace("\t\t\t<roots/>\n", "")
    document = config(participant("baseHandler", "Base"), bare)
    loose = document.replace("\t", " ")
    assert commit(tool, framework, loose, add(PUMP, "auxHandler")) == (done("Found handler: auxHandler"), document)


def test_a_later_participant_of_the_same_name_takes_the_root(tool: Sandbox, framework: Framework) -> None:
    bare = participant("auxHandler").replace("\t\t\t<roots/>\n", "")
    assert commit(tool, framework, config(participant("baseHandler", "Base"), bare, participant("auxHandler")),
                  add(PUMP, "auxHandler")) == (
        done("Found handler: auxHandler", "Found handler: auxHandler"),
        config(participant("baseHandler", "Base"), bare, participant("auxHandler", "Pump")))


def test_an_interface_outside_a_participant_refuses_the_addition(tool: Sandbox, framework: Framework) -> None:
    document = TWO.replace("</qor>", '\t<managedObject compName="stray"/>\n</qor>')
    assert commit(tool, framework, document, add(PUMP, "stray")) == (
        failed("Found handler: stray", warning("Unable to find the participant entry!"), refused(PUMP)), document)


def test_an_interface_that_is_the_document_is_outside_a_participant(tool: Sandbox, framework: Framework) -> None:
    document = '<managedObject compName="only"/>\n'
    assert commit(tool, framework, document, add(PUMP, "only")) == (
        failed("Found handler: only", warning("Unable to find the participant entry!"), refused(PUMP)), document)


def test_without_a_container_no_handler_can_be_registered(tool: Sandbox, framework: Framework) -> None:
    document = '<qor>\n\t<managedObject compName="lone"/>\n</qor>\n'
    result, after = commit(tool, framework, document, add(PUMP, "h"))
    assert (result, after) == (failed(error("Unable to find the participants entry!"), refused(PUMP)), document)
    assert framework.read(LIST) == f"{BASE}\n"


@pytest.mark.parametrize("model, told", [(BROKEN, [UNREADABLE]), (MISSING, [UNREADABLE]),
                                         (NAMELESS, [NO_NAME, UNREADABLE])], ids=["broken", "missing", "nameless"])
def test_a_model_without_readable_root_class_is_refused(tool: Sandbox, framework: Framework, model: str,
                                                        told: list[str]) -> None:
    result, after = commit(tool, framework, TWO, add(model, "h"))
    assert (result, after) == (failed(*told, "Aborting"), TWO)
    assert framework.read(LIST) == f"{BASE}\n"


def test_a_model_without_root_is_listed_but_not_registered(tool: Sandbox, framework: Framework) -> None:
    document = TWO.replace("\t", " ")
    result, after = commit(tool, framework, document, add(ROOTLESS, "h"))
    assert (result, after) == (done(NO_ROOT_CLASS), document)
    assert framework.read(LIST) == f"{BASE}\n{ROOTLESS}\n"


@pytest.mark.parametrize("text, root", [
    ('<m><class name="A"><root/></class><class name="B"><root/></class></m>', "A"),
    ('<m><x><y name="Deep"><z/><root name="ignored"/></y></x></m>', "Deep"),
    ('<any name="Any"><root/></any>', "Any"),
    ('<m><!-- <class name="No"><root/></class> --><class name="Yes"><root>text</root></class></m>', "Yes"),
    ('<m><class name="&lt;&amp;&quot;"><root/></class></m>', "<&\""),
    ('<m><p:root xmlns:p="x"/><class name="Plain"><root/></class></m>', "Plain"),
    ('<?xml version="1.0" encoding="ISO-8859-1"?><m name="K\u00fche"><root/></m>', "K\u00fche"),
], ids=["first marker", "deep", "document element", "comment", "escaped", "prefixed", "encoding"])
def test_the_root_class_is_the_element_around_the_first_marker(tool: Sandbox, framework: Framework, text: str,
                                                               root: str) -> None:
    framework.write("models/pump.xml", text.encode("latin-1" if "8859" in text else "utf-8"))
    escaped = root.replace("&", "&amp;").replace("<", "&lt;").replace('"', "&quot;")
    assert commit(tool, framework, TWO, add(PUMP, "h")) == (
        done(new_handler("h", root)),
        config(participant("baseHandler", "Base"), participant("auxHandler", "Aux"), participant("h", escaped)))


@pytest.mark.parametrize("text", ["<root/>", '<root name="Own"/>', '<m name=""><root/></m>',
                                  '<m><a><root/></a><class name="Late"><root/></class></m>'],
                         ids=["document", "document with name", "empty name", "first without name"])
def test_a_marker_without_a_named_element_around_it_is_refused(tool: Sandbox, framework: Framework, text: str) -> None:
    framework.write("models/pump.xml", text)
    assert commit(tool, framework, TWO, add(PUMP, "h")) == (failed(NO_NAME, UNREADABLE, "Aborting"), TWO)


# --- removing ----------------------------------------------------------------------------------------------------------


def test_removing_one_of_several_roots_keeps_the_handler(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, config(participant("baseHandler", "Base", "Pump", "Valve")),
                  remove(PUMP, "baseHandler")) == (
        done("Found handler: baseHandler", "Removed root entry Pump from baseHandler",
             "Modelfile entry missing, skipping removal."), config(participant("baseHandler", "Base", "Valve")))


def test_removing_the_last_root_removes_the_handler(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, TWO, remove(BASE, "baseHandler")) == (
        done("Found handler: baseHandler", "Removed root entry Base from baseHandler", "Removed handler: baseHandler",
             f"Found and removed model entry: {BASE}"), config(participant("auxHandler", "Aux")))


def test_removing_the_last_root_of_the_only_handler_is_refused(tool: Sandbox, framework: Framework) -> None:
    document = config(participant("baseHandler", "Base")).replace("\t", " ")
    assert commit(tool, framework, document, remove(BASE, "baseHandler")) == (
        failed("Found handler: baseHandler", "Unable to remove root entry"), document)


def test_removing_a_root_that_the_handler_does_not_serve_is_told_and_goes_on(tool: Sandbox,
                                                                             framework: Framework) -> None:
    assert commit(tool, framework, TWO.replace("\t", " "), remove(AUX, "baseHandler")) == (
        done("Found handler: baseHandler", "Unable to find root entry Aux in baseHandler",
             "Modelfile entry missing, skipping removal."), TWO)


def test_removing_from_a_handler_that_nobody_knows_goes_on_without_a_word(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, TWO.replace("\t", " "), remove(BASE, "nobody")) == (
        done(f"Found and removed model entry: {BASE}"), TWO)


def test_a_later_participant_of_the_same_name_gets_its_chance(tool: Sandbox, framework: Framework) -> None:
    first, second = participant("h", "Aux"), participant("h", "Pump", "Valve")
    assert commit(tool, framework, config(first, second), remove(PUMP, "h")) == (
        done("Found handler: h", "Unable to find root entry Pump in h", "Found handler: h",
             "Removed root entry Pump from h", "Modelfile entry missing, skipping removal."),
        config(first, participant("h", "Valve")))


def test_only_the_first_matching_root_is_removed(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, config(participant("h", "Pump", "Pump")), remove(PUMP, "h")) == (
        done("Found handler: h", "Removed root entry Pump from h", "Modelfile entry missing, skipping removal."),
        config(participant("h", "Pump")))


def test_removing_from_a_handler_without_roots_goes_on(tool: Sandbox, framework: Framework) -> None:
    bare = participant("auxHandler").replace("\t\t\t<roots/>\n", "")
    document = config(participant("baseHandler", "Base"), bare)
    assert commit(tool, framework, document, remove(PUMP, "auxHandler")) == (
        done("Found handler: auxHandler", "Modelfile entry missing, skipping removal."), document)


@pytest.mark.parametrize("model, told", [(BROKEN, [UNREADABLE]), (MISSING, [UNREADABLE]),
                                         (NAMELESS, [NO_NAME, UNREADABLE])], ids=["broken", "missing", "nameless"])
def test_removing_a_model_without_readable_root_class_fails(tool: Sandbox, framework: Framework, model: str,
                                                            told: list[str]) -> None:
    assert commit(tool, framework, TWO, remove(model, "baseHandler")) == (
        failed("Found handler: baseHandler", *told), TWO)


def test_removing_a_model_without_root_goes_on(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, TWO, remove(ROOTLESS, "baseHandler")) == (
        done("Found handler: baseHandler", NO_ROOT_CLASS, "Unable to find root entry  in baseHandler",
             "Modelfile entry missing, skipping removal."), TWO)


def test_an_interface_outside_a_participant_fails_the_removal(tool: Sandbox, framework: Framework) -> None:
    document = TWO.replace("</qor>", '\t<managedObject compName="stray"/>\n</qor>')
    assert commit(tool, framework, document, remove(PUMP, "stray")) == (
        failed("Found handler: stray", warning("Unable to find the participant entry!")), document)


def test_elements_beside_the_roots_do_not_count_as_roots(tool: Sandbox, framework: Framework) -> None:
    extra = participant("baseHandler", "Base").replace("\t\t\t</roots>", '\t\t\t\t<note name="x"/>\n\t\t\t</roots>')
    assert commit(tool, framework, config(extra, participant("auxHandler", "Aux")), remove(BASE, "baseHandler")) == (
        done("Found handler: baseHandler", "Removed root entry Base from baseHandler", "Removed handler: baseHandler",
             f"Found and removed model entry: {BASE}"), config(participant("auxHandler", "Aux")))


def test_a_root_removed_and_added_again_moves_to_the_new_handler(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, TWO, remove(AUX, "auxHandler"), add(AUX, "baseHandler")) == (
        done("Found handler: auxHandler", "Removed root entry Aux from auxHandler", "Removed handler: auxHandler",
             "Modelfile entry missing, skipping removal.", "Found handler: baseHandler"),
        config(participant("baseHandler", "Base", "Aux")))


# --- reading and writing -----------------------------------------------------------------------------------------------


def test_what_the_tool_does_not_know_passes_through(tool: Sandbox, framework: Framework) -> None:
    base = participant("baseHandler", "Base")
    surroundings = ("<any:thing xmlns:any=\"urn:any\" z=\"&lt;&amp;\">\n\t<!-- a comment -->\n\t<?hint at=\"all\"?>\n"
                    "\t<text>words &amp; words</text>\n\t<data><![CDATA[<raw>]]></data>\n\t<participants>\n{}"
                    "\t</participants>\n</any:thing>\n")
    result, after = commit(tool, framework, surroundings.format(base), add(PUMP, "h"))
    assert (result, after) == (done(new_handler("h", "Pump")), surroundings.format(base + participant("h", "Pump")))


def test_a_written_document_has_no_declaration_line_feeds_only_and_sorted_attributes(tool: Sandbox,
                                                                                     framework: Framework) -> None:
    base = participant("baseHandler", "Base")
    loose = ("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
             + config(base).replace("\n", "\r\n").replace('<limits requests="8"/>', "<limits  z='1'   a='2' ></limits>"))
    assert commit(tool, framework, loose, add(PUMP, "h")) == (
        done(new_handler("h", "Pump")),
        config(base, participant("h", "Pump")).replace('<limits requests="8"/>', '<limits a="2" z="1"/>'))


@pytest.mark.parametrize("name", ['a"b', "a<b>", "a&b", "a'b", "a b", "Ä€😀", "%s%n"])
def test_a_handlers_name_is_written_so_that_it_can_be_read_again(tool: Sandbox, framework: Framework,
                                                                 name: str) -> None:
    written = name.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;").replace('"', "&quot;")
    base = participant("baseHandler", "Base")
    result, after = commit(tool, framework, config(base), add(PUMP, name))
    assert (result, after) == (done(new_handler(name, "Pump")), config(base, participant(written, "Pump")))
    assert commit(tool, framework, after, add(VALVE, name))[0] == done(f"Found handler: {name}")


def test_a_name_that_xml_cannot_hold_is_told_and_the_file_keeps_its_last_version(tool: Sandbox,
                                                                                framework: Framework) -> None:
    result, after = commit(tool, framework, TWO, add(PUMP, "h\x01x"), add(VALVE, "baseHandler"))
    assert result == done(new_handler("h\x01x", "Pump"), "Unable to wite updated XML file!",
                          "Found handler: baseHandler", "Unable to wite updated XML file!")
    assert after == TWO
    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n{VALVE}\n"


def test_an_unwritable_working_copy_is_told_and_keeps_its_version(tool: Sandbox, framework: Framework) -> None:
    framework.write(CONFIG, TWO)
    framework.session(add(PUMP, "h") + "\n")
    framework.path(CONFIG_TMP).chmod(0o444)
    assert tool.run("--commit") == done(new_handler("h", "Pump"), "Unable to wite updated XML file!")
    assert framework.read(CONFIG) == TWO


def test_every_change_is_written_even_if_a_later_action_fails(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, TWO, add(PUMP, "h"), add(BROKEN, "h")) == (
        failed(new_handler("h", "Pump"), UNREADABLE, "Aborting"),
        config(participant("baseHandler", "Base"), participant("auxHandler", "Aux"), participant("h", "Pump")))


def test_a_large_document_is_kept_whole(tool: Sandbox, framework: Framework) -> None:
    many = [participant(f"handler{number}", f"Root{number}") for number in range(3000)]
    assert commit(tool, framework, config(*many), add(PUMP, "h")) == (
        done(new_handler("h", "Pump")), config(*many, participant("h", "Pump")))
