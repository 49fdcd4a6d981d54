"""Inspects the macOS program as it was built: one check a run, by name.

A check that fails says what it saw and exits with 1. LLVM's tools read the file.
"""

import argparse
import pathlib
import re
import subprocess
import sys
import tempfile

import macho

ARCHITECTURES = ["arm64", "x86_64"]
MINIMUM_SYSTEM = "14.0"
MAXIMUM_SLICE_SIZE = 1024 * 1024

SYSTEM_LIBRARIES = {
    "/System/Library/Frameworks/CoreFoundation.framework/Versions/A/CoreFoundation",
    "/System/Library/Frameworks/Foundation.framework/Versions/C/Foundation",
    "/System/Library/Frameworks/Security.framework/Versions/A/Security",
    "/usr/lib/libSystem.B.dylib",
    "/usr/lib/libobjc.A.dylib",
}

REPLY = '@?<v@?@"NSData">'
NONE = f"v24@0:8{REPLY}16"
PROTOCOL = (
    "BlindfoldXPCProtocol",
    [
        ("beginPresence:", NONE),
        ("installStatus:", NONE),
        ("detectTargets:", NONE),
        ("hold:withReply:", f'v32@0:8@"NSData"16{REPLY}24'),
        ("renew:withReply:", f'v32@0:8@"NSString"16{REPLY}24'),
        ("release:withReply:", f'v32@0:8@"NSString"16{REPLY}24'),
        ("restoreAll:", NONE),
        ("muteMic:", NONE),
        ("unmuteMic:", NONE),
        ("currentState:", NONE),
    ],
)


# The signature of the block that takes a reply; the helper compares it with its own protocol's.
REPLY_BLOCK = 'v16@?0@"NSData"8'

# Which library defines a symbol, by the symbol's name; classes stand in the library of their code,
# which is not always that of their headers.
DEFINING_LIBRARIES = [
    (r"_OBJC_(CLASS|EHTYPE)_\$_(NSArray|NSData|NSException|NSURL)", "CoreFoundation"),
    (r"_OBJC_CLASS_\$_(NSBundle|NSFileManager|NSNumber|NSString|NSXPC\w+)", "Foundation"),
    (r"_NSFile\w+", "Foundation"),
    (r"_CF\w+|___CFConstantStringClassReference", "CoreFoundation"),
    (r"_k?Sec[A-Z]\w+", "Security"),
    (r"_(objc|sel|class|object|method|protocol)_\w+|__objc_empty_cache", "libobjc"),
    (r"___objc_personality_v0|_OBJC_(CLASS|METACLASS)_\$_NSObject", "libobjc"),
    (r"__NSConcrete\w+Block|__Block_\w+|__?dispatch_\w+", "libSystem"),
]


class Failure(Exception):
    """What a check saw that it should not have seen."""


def require(condition, message):
    if not condition:
        raise Failure(message)


def llvm(tool, *arguments):
    """The output of one of LLVM's tools, of the version that Debian numbers or the plain one."""
    for name in (f"{tool}-19", tool):
        try:
            run = subprocess.run([name, *map(str, arguments)], capture_output=True, text=True)
        except FileNotFoundError:
            continue
        require(run.returncode == 0, f"{name}: {run.stderr}")
        return run.stdout
    raise Failure(f"{tool} is not installed")


class Program:
    """The universal program, what it is compared with, and a directory for its parts."""

    def __init__(self, options, directory):
        self.path = options.program
        self.property_list = options.property_list
        self.declarations = options.declarations
        self.system_stub = options.system_stub
        self.objects = options.objects
        self.directory = directory

    def architectures(self):
        return sorted(llvm("llvm-lipo", "-archs", self.path).split())

    def slices(self):
        """Each slice's architecture and its own file."""
        architectures = self.architectures()
        for architecture in architectures:
            thin = pathlib.Path(self.directory, architecture)
            if len(architectures) == 1:
                thin.write_bytes(pathlib.Path(self.path).read_bytes())
            else:
                llvm("llvm-lipo", "-thin", architecture, self.path, "-output", thin)
            yield architecture, thin


def check_slices(program):
    found = program.architectures()
    require(found == ARCHITECTURES, f"slices: {found}")


def check_minimum_system(program):
    for architecture, thin in program.slices():
        commands = llvm("llvm-otool", "-l", thin)
        found = re.findall(r"cmd LC_BUILD_VERSION.*?platform (\w+).*?minos ([\d.]+)", commands, re.S)
        require(
            found in ([("macos", MINIMUM_SYSTEM)], [("1", MINIMUM_SYSTEM)]),
            f"{architecture}: built for {found}",
        )


def check_property_list(program):
    shipped = pathlib.Path(program.property_list).read_bytes()
    require(shipped.startswith(b"<?xml"), "the shipped property list is not one")
    for architecture, thin in program.slices():
        section = pathlib.Path(program.directory, "info_plist")
        llvm("llvm-objcopy", f"--dump-section=__TEXT,__info_plist={section}", thin, "/dev/null")
        require(section.read_bytes() == shipped, f"{architecture}: another property list")


def check_libraries(program):
    for architecture, thin in program.slices():
        lines = llvm("llvm-objdump", "--macho", "--dylibs-used", thin).splitlines()[1:]
        loaded = {line.split(" (")[0].strip() for line in lines}
        require(loaded == SYSTEM_LIBRARIES, f"{architecture}: loads {sorted(loaded)}")
        searched = "LC_RPATH" in llvm("llvm-otool", "-l", thin)
        require(not searched, f"{architecture}: searches for libraries")


def symbols_of_stub(path):
    """The symbols that a .tbd file names, and those that its classes and exceptions stand for."""
    text = pathlib.Path(path).read_text()
    symbols = set()
    for key, names in re.findall(r"(symbols|objc-classes|objc-eh-types):((?:\s*- \S+)+)", text):
        prefixes = {
            "symbols": [""],
            "objc-classes": ["_OBJC_CLASS_$_", "_OBJC_METACLASS_$_"],
            "objc-eh-types": ["_OBJC_EHTYPE_$_"],
        }[key]
        for name in re.findall(r"- (\S+)", names):
            symbols.update(prefix + name for prefix in prefixes)
    return symbols


def stubs(program):
    """The symbols that may come from each library, by the name that llvm-nm gives the library."""
    named = {
        path.stem: symbols_of_stub(path)
        for path in sorted(pathlib.Path(program.declarations).rglob("*.tbd"))
    }
    text = pathlib.Path(program.system_stub).read_text()
    named["libSystem"] = set(re.findall(r"[\s,\['](_[A-Za-z0-9_$]+)", text)) | {"dyld_stub_binder"}
    return named


def undefined_symbols(thin):
    """Every undefined symbol and the library that it comes from."""
    listing = llvm("llvm-nm", "--undefined-only", "-m", thin)
    return re.findall(r"external (\S+) \(from (\S+)\)", listing), len(listing.splitlines())


def check_undefined_symbols(program):
    named = stubs(program)
    for architecture, thin in program.slices():
        undefined, lines = undefined_symbols(thin)
        require(undefined and len(undefined) == lines, f"{architecture}: a symbol from nowhere")
        for symbol, library in undefined:
            library = re.sub(r"\.B$|\.A$", "", library)
            require(
                symbol in named.get(library, ()), f"{architecture}: {symbol} is not in {library}"
            )


def defining_library(symbol):
    """The library that defines a symbol; the C and C++ libraries define all others."""
    for pattern, library in DEFINING_LIBRARIES:
        if re.fullmatch(pattern, symbol):
            return library
    return "libSystem"


def check_defining_libraries(program):
    """Every symbol is looked up in the library that defines it, not in one that passes it on."""
    for architecture, thin in program.slices():
        undefined, _ = undefined_symbols(thin)
        require(len(undefined) > 50, f"{architecture}: {len(undefined)} symbols")
        for symbol, library in undefined:
            require(
                re.sub(r"\.[AB]$", "", library) == defining_library(symbol),
                f"{architecture}: {symbol} is looked up in {library}",
            )


def require_signature(thin):
    """The slice has an ad hoc signature that agrees with it byte for byte."""
    signature = macho.Slice(thin.read_bytes()).signature()
    require(signature is not None, f"{thin.name}: is not signed")
    require(signature.identifier == "blindfoldctl", f"signed as {signature.identifier}")


def check_signature(program):
    """arm64 has the linker's ad hoc signature, without which it does not run; x86_64 has none."""
    for architecture, thin in program.slices():
        if architecture == "x86_64":
            require(not macho.Slice(thin.read_bytes()).signatures, f"{architecture}: is signed")
        else:
            require_signature(thin)


def check_reply_block(program):
    for architecture, thin in program.slices():
        texts = macho.Slice(thin.read_bytes()).texts_of("__TEXT", "__cstring")
        require(REPLY_BLOCK in texts, f"{architecture}: no block takes a reply")


def check_position_independent(program):
    for architecture, thin in program.slices():
        headers = llvm("llvm-readobj", "--file-headers", thin)
        require("MH_PIE" in headers, f"{architecture}: loads at one address only")


def check_segments(program):
    for architecture, thin in program.slices():
        commands = llvm("llvm-otool", "-l", thin)
        protections = re.findall(r"(?:max|init)prot (?:0x)?([0-9a-fA-F]+)", commands)
        require(len(protections) >= 8, f"{architecture}: no segments")
        for protection in protections:
            value = int(protection, 16)
            require(value & 6 != 6, f"{architecture}: a segment is writable and executable")


def check_size(program):
    for architecture, thin in program.slices():
        size = thin.stat().st_size
        require(size < MAXIMUM_SLICE_SIZE, f"{architecture}: {size} bytes")


def check_protocol(program):
    for architecture, thin in program.slices():
        found = macho.Slice(thin.read_bytes()).protocols()
        require(found == [PROTOCOL], f"{architecture}: {found}")


def check_machine_paths(program):
    """Nothing in the program tells on which machine it was built."""
    here = str(pathlib.Path(__file__).resolve().parents[4])
    home = str(pathlib.Path.home())
    contents = pathlib.Path(program.path).read_bytes()
    for path in (here, home + "/"):
        require(path.encode() not in contents, f"the program names {path}")


def check_hidden_symbols(program):
    """No object of this project's offers a symbol to other images."""
    require(program.objects, "no objects to look at")
    for archive in program.objects:
        listing = llvm("llvm-nm", "--defined-only", "-m", archive)
        require(" private external " in listing, f"{archive}: hides nothing")
        # This project's own names; a template of the standard library's keeps its visibility.
        offered = re.search(r"\) (?:weak )?external (_+Z(?:T[VTSI])?NK?9blindfold\S*)", listing)
        require(offered is None, f"{archive}: offers {offered and offered[1]}")


CHECKS = {
    name.removeprefix("check_"): check
    for name, check in list(globals().items())
    if name.startswith("check_")
}


def parse(arguments):
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("check", choices=sorted(CHECKS))
    parser.add_argument("--program", required=True)
    parser.add_argument("--property-list", required=True)
    parser.add_argument("--declarations", required=True, help="the folder of .tbd files")
    parser.add_argument("--system-stub", required=True, help="the compiler's libSystem.tbd")
    parser.add_argument("--objects", nargs="*", help="this project's archives")
    return parser.parse_args(arguments)


def main():
    options = parse(sys.argv[1:])
    with tempfile.TemporaryDirectory() as directory:
        try:
            CHECKS[options.check](Program(options, directory))
        except (Failure, ValueError, KeyError) as failure:
            print(f"{options.check}: {failure}", file=sys.stderr)
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
