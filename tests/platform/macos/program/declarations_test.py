"""The table of docs/macos.md, the declarations of the cross-build and what the program uses agree.

The compiler reads the declarations; the program says what it uses of them.
"""

import argparse
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import inspect_program
import macho

HEADERS = [
    "Block.h",
    "CoreFoundation/CoreFoundation.h",
    "Foundation/Foundation.h",
    "Security/Security.h",
    "dispatch/dispatch.h",
    "objc/runtime.h",
]
FRAMEWORKS = {"Foundation", "Core Foundation", "Security"}
TOOLCHAIN = {"Blocks", "Dispatch", "Objective-C Runtime"}

# What the compiler itself calls: no line of the adapters names them.
COMPILERS_OWN = {
    "_OBJC_EHTYPE_$_NSException",
    "_OBJC_METACLASS_$_NSObject",
    "__objc_empty_cache",
    "_objc_msgSendSuper2",
    "__NSConcreteStackBlock",
    "___objc_personality_v0",
    "_objc_autoreleasePoolPop",
    "_objc_autoreleasePoolPush",
    "_objc_begin_catch",
    "_objc_end_catch",
    "_objc_msgSend",
}
# Methods that the compiler calls as functions of the runtime.
CALLED_AS_FUNCTIONS = {"alloc", "autorelease", "release", "retain"}
# Methods of this project's own classes.
OWN_SELECTORS = {"initWithAcceptor:", "initWithReceiver:"}

options = None


def canonical(text):
    """A declaration without what does not change its meaning."""
    text = re.sub(r"\b(extern|oneway|__attribute__\(\(\w+\)\))", "", text)
    text = re.sub(r"\bvoid\s*\)", ")", text) if text.count("void") else text
    text = re.sub(r"(\w[\w ]*?) const (\w+)$", r"const \1 \2", text.strip())
    return re.sub(r"\s+", "", text)


def rows():
    """The table's rows: symbol, signature, framework, page."""
    found = []
    _, section = pathlib.Path(options.document).read_text().split("\n## What the adapters use\n")
    for line in section.splitlines():
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if line.startswith("| `") and len(cells) == 4:
            symbol, signature = (cell.strip("`") for cell in cells[:2])
            found.append((symbol, signature, cells[2], cells[3]))
    return found


def syntax_tree():
    """The compiler's tree of everything that the adapters' headers declare."""
    with tempfile.TemporaryDirectory() as directory:
        source = pathlib.Path(directory, "headers.mm")
        source.write_text("".join(f"#import <{header}>\n" for header in HEADERS))
        run = subprocess.run(
            ["clang++-19", "-target", "arm64-apple-macos14.0", "-std=c++20", "-fblocks",
             "-nostdinc++", "-nostdlibinc",
             "-isystem", f"{options.headers}/libc/include/any-macos-any",
             "-isystem", f"{options.headers}/libcxx/include",
             "-iframework", f"{options.declarations}/Frameworks",
             "-fsyntax-only", "-Xclang", "-ast-dump=json", source],
            capture_output=True, text=True, check=True)
        return json.loads(run.stdout)


def type_text(node, kind="type"):
    """A type without the annotations that the compiler keeps in it."""
    annotations = r"_Nonnull|_Nullable|CF_RETURNS_\w+|NS_RETURNS_\w+|API_\w+\(([^()]|\([^()]*\))*\)"
    return re.sub(rf"\s*\b({annotations})", "", node[kind]["qualType"]).strip()


def property_text(node):
    attributes = [
        name for name in ("class", "readonly", "copy", "strong", "retain", "weak") if node.get(name)
    ]
    kind, name = type_text(node), node["name"]
    typed = kind.replace("(^)", f"(^{name})") if "(^)" in kind else f"{kind} {name}"
    return f"@property({', '.join(attributes)}) {typed}"


def method_text(node):
    parameters = [each for each in node.get("inner", []) if each["kind"] == "ParmVarDecl"]
    text = ("-" if node["instance"] else "+") + f"({type_text(node, 'returnType')})"
    words = node["name"].split(":")
    if not parameters:
        return text + words[0]
    return text + " ".join(
        f"{word}:({type_text(each)}){each['name']}"
        for word, each in zip(words, parameters)
    )


def function_text(node):
    parameters = [each for each in node.get("inner", []) if each["kind"] == "ParmVarDecl"]
    result = type_text(node).split("(")[0]
    listed = ", ".join(
        f"{type_text(each)} {each.get('name', '')}".strip() for each in parameters
    )
    return f"{result} {node['name']}({listed})"


def typedef_text(node):
    kind, name = type_text(node), node["name"]
    return f"typedef {kind.replace('(^)', '(^' + name + ')')}" + ("" if "(^)" in kind else f" {name}")


def constant_text(node):
    value = node["inner"][0]
    while "value" not in value:
        value = value["inner"][0]
    return f"{node['name']} = {value['value']}"


class Declarations:
    """Every declaration that the headers make: texts by symbol, and where each was made."""

    def __init__(self):
        self.texts = {}
        self.own = set()
        self.file = None
        self._walk(syntax_tree(), None)

    def _walk(self, node, container):
        self._follow_file(node)
        kind = node["kind"]
        if kind in ("ObjCInterfaceDecl", "ObjCProtocolDecl", "ObjCCategoryDecl"):
            container = node.get("name") or node.get("interface", {}).get("name")
        if kind == "ObjCPropertyDecl":
            self._add(f"{container}.{node['name']}", property_text(node))
        elif kind == "ObjCMethodDecl" and not node.get("isImplicit"):
            sign = "-" if node["instance"] else "+"
            self._add(f"{sign}[{container} {node['name']}]", method_text(node))
        elif kind == "FunctionDecl":
            self._add(node["name"], function_text(node))
        elif kind == "VarDecl":
            self._add(node["name"], f"{type_text(node)} {node['name']}")
        elif kind == "TypedefDecl" and "name" in node and not node.get("isImplicit"):
            self._add(node["name"], typedef_text(node))
        elif kind == "EnumConstantDecl" and node.get("inner"):
            self._add(node["name"], constant_text(node))
        elif kind in ("TranslationUnitDecl", "LinkageSpecDecl", "EnumDecl", "ObjCInterfaceDecl",
                      "ObjCProtocolDecl", "ObjCCategoryDecl"):
            for child in node.get("inner", []):
                self._walk(child, container)
            return
        self._skip(node)

    def _skip(self, node):
        """Follows the file names of children that are not looked at: each names only changes."""
        for child in node.get("inner", []):
            if isinstance(child, dict):
                self._follow_file(child)
                self._skip(child)

    def _follow_file(self, node):
        location = node.get("loc", {})
        for place in (location.get("spellingLoc", {}), location.get("expansionLoc", {}), location):
            if "file" in place:
                self.file = place["file"]

    def _add(self, symbol, text):
        self.texts.setdefault(symbol, set()).add(canonical(text))
        if self.file and str(options.declarations) in self.file:
            self.own.add(symbol)


def selector_of(symbol):
    """The selector that a row's symbol is called by, or nothing for what is no method."""
    method = re.fullmatch(r"[-+]\[\w+ (\S+)\]", symbol)
    return method[1] if method else None


def selectors_of(row):
    """The selectors that a program may use a row by."""
    symbol, signature = row[:2]
    property_name = re.fullmatch(r"\w+\.(\w+)", symbol)
    if not property_name:
        return {selector_of(symbol)} - {None}
    name = property_name[1]
    setter = f"set{name[0].upper()}{name[1:]}:"
    return {name} if "readonly" in signature else {name, setter}


class DeclarationsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.rows = rows()
        cls.declarations = Declarations()
        cls.sent, cls.known, cls.undefined = set(), set(), {}
        for path in (options.program, options.development_helper):
            cls._add_program(argparse.Namespace(**{**vars(options), "program": path}))
        called = {each for each in CALLED_AS_FUNCTIONS if f"_objc_{each}" in cls.undefined}
        cls.sent |= called
        cls.known |= called

    @classmethod
    def _add_program(cls, program_options):
        """Adds what a program sends, names and looks up."""
        with tempfile.TemporaryDirectory() as directory:
            program = inspect_program.Program(program_options, directory)
            _, thin = next(program.slices())
            slice_ = macho.Slice(thin.read_bytes())
            own = {selector for selector, _ in inspect_program.PROTOCOL[1]} | OWN_SELECTORS
            cls.sent |= slice_.sent_selectors() - own
            cls.known |= slice_.texts_of("__TEXT", "__objc_methname")
            cls.undefined.update(inspect_program.undefined_symbols(thin)[0])
            cls.stubs = inspect_program.stubs(program)

    def test_the_table_has_rows(self):
        self.assertGreater(len(self.rows), 50)
        symbols = [row[0] for row in self.rows]
        self.assertEqual(len(symbols), len(set(symbols)))

    def test_every_row_is_declared_as_it_says(self):
        for symbol, signature, _, _ in self.rows:
            with self.subTest(symbol):
                self.assertIn(canonical(signature), self.declarations.texts.get(symbol, ()))

    def test_every_declaration_has_its_row(self):
        self.assertGreater(len(self.declarations.own), 40)
        self.assertEqual(self.declarations.own - {row[0] for row in self.rows}, set())

    def test_every_row_names_its_framework_and_page(self):
        for symbol, _, framework, page in self.rows:
            with self.subTest(symbol):
                own = symbol in self.declarations.own
                self.assertIn(framework, FRAMEWORKS if own else TOOLCHAIN)
                self.assertRegex(page, r"^[^ ].* › .*[^ ]$")

    def test_every_selector_in_use_has_a_row(self):
        listed = set().union(*map(selectors_of, self.rows))
        self.assertGreater(len(self.sent), 30)
        self.assertEqual(self.sent - listed, set())

    def test_every_method_with_a_row_is_in_use(self):
        for row in self.rows:
            with self.subTest(row[0]):
                selectors = selectors_of(row)
                self.assertTrue(not selectors or selectors & self.known)

    def test_every_symbol_in_use_has_a_row(self):
        listed = {f"_{row[0]}" for row in self.rows} | COMPILERS_OWN
        classes = {re.match(r"[-+]?\[?(\w+)", row[0])[1] for row in self.rows}
        for symbol, library in self.undefined.items():
            named_class = re.fullmatch(r"_OBJC_CLASS_\$_(\w+)", symbol)
            of_interest = library != "libSystem" or re.match(r"__?(dispatch|Block)_", symbol)
            if not of_interest or symbol.removeprefix("_objc_") in CALLED_AS_FUNCTIONS:
                continue
            with self.subTest(symbol):
                if named_class:
                    self.assertIn(named_class[1], classes)
                else:
                    self.assertIn(symbol, listed)

    def test_every_function_and_constant_with_a_row_is_in_use(self):
        for symbol, signature, _, _ in self.rows:
            linked = "=" not in signature and not signature.startswith(("typedef", "-", "+", "@"))
            if linked:
                with self.subTest(symbol):
                    self.assertIn(f"_{symbol}", self.undefined)

    def test_every_symbol_comes_from_the_library_of_its_row(self):
        for symbol, signature, framework, _ in self.rows:
            library = framework.replace(" ", "")
            if framework in FRAMEWORKS and f"_{symbol}" in self.undefined:
                with self.subTest(symbol):
                    self.assertIn(f"_{symbol}", self.stubs[library])


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for name in ("--document", "--headers", "--program", "--development-helper", "--property-list",
                 "--declarations", "--system-stub"):
        parser.add_argument(name, required=True)
    options = parser.parse_args()
    options.objects = None
    unittest.main(argv=sys.argv[:1])
