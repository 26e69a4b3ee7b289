"""The module's public surface: the type stub matches it name for name, and everything a user
can reach has a docstring."""
import ast
import enum
import pathlib

import qelstd

STUB = pathlib.Path(qelstd.__file__).with_suffix(".pyi")


def public(names):
    return {n for n in names if not n.startswith("_")}


def stub_tree():
    return ast.parse(STUB.read_text(encoding="utf-8"))


def defined_names(body):
    names = set()
    for node in body:
        if isinstance(node, (ast.ClassDef, ast.FunctionDef)):
            names.add(node.name)
        elif isinstance(node, ast.AnnAssign) and isinstance(node.target, ast.Name):
            names.add(node.target.id)
        elif isinstance(node, ast.Assign):
            names.update(t.id for t in node.targets if isinstance(t, ast.Name))
    return public(names)


def module_names():
    return public(dir(qelstd)) | public(
        n for n, v in vars(type(qelstd)).items() if isinstance(v, property))


def library_classes():
    return [(n, v) for n, v in vars(qelstd).items()
            if isinstance(v, type) and not n.startswith("_") and not issubclass(v, enum.Enum)]


def test_stub_and_module_have_the_same_names():
    tree = stub_tree()
    stubbed = defined_names(tree.body)
    assert sorted(module_names() - stubbed) == [], "in the module, missing from the stub"
    assert sorted(stubbed - module_names()) == [], "in the stub, missing from the module"


def test_stub_classes_have_the_same_members():
    classes = {node.name: node for node in stub_tree().body if isinstance(node, ast.ClassDef)}

    def stub_members(name):
        node = classes[name]
        members = defined_names(node.body)
        for base in node.bases:
            if isinstance(base, ast.Name) and base.id in classes:
                members |= stub_members(base.id)
        return members

    mismatches = {}
    for name, cls in library_classes():
        real = public(dir(cls)) - public(dir(Exception) if issubclass(cls, Exception) else ())
        if real != stub_members(name):
            mismatches[name] = (sorted(real - stub_members(name)), sorted(stub_members(name) - real))
    assert mismatches == {}


def test_everything_public_has_a_docstring():
    missing = [n for n in module_names() - public(vars(qelstd))
               if not getattr(type(qelstd), n).__doc__]
    for name in public(vars(qelstd)):
        value = getattr(qelstd, name)
        if isinstance(value, (int, qelstd.EmptyType)):
            continue  # constants: documented by their enumeration class
        if not (value.__doc__ or "").strip():
            missing.append(name)
    for name, cls in library_classes():
        for member, value in vars(cls).items():
            if member.startswith("_") or not (value.__doc__ or "").strip() == "":
                continue
            missing.append(f"{name}.{member}")
    assert missing == []


def test_help_explains_a_class():
    text = qelstd.QelRecord.__doc__ + "".join(
        getattr(qelstd.QelRecord, m).__doc__ for m in ("Serialize", "AddField", "Layout"))
    assert "link text" in text and "signature" in text
    assert "Change(Index)" in qelstd.QelRecordField.__doc__


def test_enumerations_are_classes_of_the_module_constants():
    for enum_class in (v for v in vars(qelstd).values()
                       if isinstance(v, type) and issubclass(v, enum.Enum)):
        assert enum_class.__doc__, enum_class
        for member in enum_class:
            assert getattr(qelstd, member.name) == member.value, member
            assert enum_class(member.value) is member
