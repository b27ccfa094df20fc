# SPDX-License-Identifier: Apache-2.0
"""Lets gdb show the objects of KestovaPlatform as what they stand for.

    (gdb) print person
    $1 = NSDictionary of 2 = {["name"] = "Ada", ["age"] = 36}

Installed, gdb finds this file by itself when it loads the library. From the sources:

    gdb -x packaging/gdb/kestova.py PROGRAM

Only memory is read and nothing is called, so it works on a core dump as well. It needs the type
information (-g) of the library.
"""

import gdb
import gdb.printing
import gdb.types

MOST_BYTES = 64

# How a string's form_ is put together (NSString.h).
UTF16_FORM = 1
FORM_BITS = 2


def bases_of(value):
    """The value and all objects that it is derived from, from the outermost class inwards."""
    yield value
    for field in value.type.fields():
        if field.is_base_class:
            yield from bases_of(value[field])


def part_of(value, *class_names):
    """The value as the first of its classes whose name, up to template arguments, is given."""
    for base in bases_of(value):
        if (base.type.strip_typedefs().name or "").split("<")[0] in class_names:
            return base
    return None


def whole_object(pointer):
    """The object behind a pointer, as its own class; as the pointer's class where that is unknown."""
    try:
        return pointer.cast(pointer.dynamic_type).dereference()
    except gdb.error:
        return pointer.dereference()


def held_alternative(variant):
    """What a std::variant holds. All alternatives lie at the beginning of its storage."""
    variant_type = variant.type.strip_typedefs()
    held = variant_type.template_argument(int(variant["_M_index"]))
    return variant["_M_u"].address.cast(held.pointer()).dereference()


def items_of(vector):
    """The elements of a std::vector."""
    item = vector["_M_impl"]["_M_start"]
    while item != vector["_M_impl"]["_M_finish"]:
        yield item.dereference()
        item += 1


def count_of(vector):
    return int(vector["_M_impl"]["_M_finish"] - vector["_M_impl"]["_M_start"])


class TextPrinter:
    """The text; one with u before it is kept as UTF-16."""

    def to_string(self):
        return self.text.lazy_string(length=self.length)

    def display_hint(self):
        return "string"


class StringPrinter(TextPrinter):
    """The units begin in the object and go on behind it."""

    def __init__(self, string):
        form = int(string["form_"])
        unit = gdb.lookup_type("char16_t" if form & UTF16_FORM else "char")
        self.text = string["units_"].address.cast(unit.const().pointer())
        self.length = form >> FORM_BITS


class BufferedStringPrinter(TextPrinter):
    def __init__(self, string):
        buffer = held_alternative(string["storage_"])
        self.text = buffer["_M_dataplus"]["_M_p"]
        self.length = int(buffer["_M_string_length"])


class NumberPrinter:
    def __init__(self, number):
        self.value = held_alternative(number["value_"])

    def to_string(self):
        return str(self.value)


class DataPrinter:
    """The first bytes in hexadecimal digits, four in a group."""

    def __init__(self, data):
        self.length = int(data["length_"])
        self.bytes = data["bytes_"]

    def to_string(self):
        shown = min(self.length, MOST_BYTES)
        memory = gdb.selected_inferior().read_memory(int(self.bytes), shown) if shown else b""
        digits = bytes(memory).hex(" ", -4)
        return "<%s%s> %d bytes" % (digits, "..." if shown < self.length else "", self.length)


class NullPrinter:
    def __init__(self, _):
        pass

    def to_string(self):
        return "<null>"


class ArrayPrinter:
    def __init__(self, array):
        self.members = array["objects_"]

    def to_string(self):
        return "NSArray of %d" % count_of(self.members)

    def children(self):
        return (("[%d]" % place, item) for place, item in enumerate(items_of(self.members)))

    def display_hint(self):
        return "array"


class SetPrinter(ArrayPrinter):
    def __init__(self, table_set):
        self.members = table_set["table_"]["m_ht"]["m_values"]

    def to_string(self):
        return "NSSet of %d" % count_of(self.members)


class DictionaryPrinter:
    def __init__(self, dictionary):
        self.entries = dictionary["table_"]["m_ht"]["m_values"]

    def to_string(self):
        return "NSDictionary of %d" % count_of(self.entries)

    def children(self):
        for place, entry in enumerate(items_of(self.entries)):
            yield "key %d" % place, entry["first"]
            yield "object %d" % place, entry["second"]

    def display_hint(self):
        return "map"


class OtherPrinter:
    """An object without a printer of its own: its class and where it is."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "<%s: 0x%x>" % (self.value.type.strip_typedefs().name, int(self.value.address))


class NothingPrinter:
    def to_string(self):
        return "nil"


# The first class of an object that stands here prints it.
PRINTERS = {
    "kestova::detail::BufferedString": BufferedStringPrinter,
    "kestova::NSString": StringPrinter,
    "kestova::NSNumber": NumberPrinter,
    "kestova::NSData": DataPrinter,
    "kestova::NSNull": NullPrinter,
    "kestova::VectorArray": ArrayPrinter,
    "kestova::TableSet": SetPrinter,
    "kestova::TableDictionary": DictionaryPrinter,
}


def printer_of_object(value):
    for name, printer in PRINTERS.items():
        part = part_of(value, name)
        if part is not None:
            return printer(part)
    return None


def printer_of_reference(reference):
    pointer = reference["object_"]
    if int(pointer) == 0:
        return NothingPrinter()
    value = whole_object(pointer)
    return printer_of_object(value) or OtherPrinter(value)


class KestovaPrinters(gdb.printing.PrettyPrinter):
    """Chooses the printer of a value: for Ref, and for what is derived from NSObject."""

    def __init__(self):
        super().__init__("KestovaPlatform")

    def __call__(self, value):
        value_type = gdb.types.get_basic_type(value.type)
        if value_type.code != gdb.TYPE_CODE_STRUCT:
            return None
        value = value.cast(value_type)
        if (value_type.name or "").startswith("kestova::Ref<"):
            return printer_of_reference(value)
        return printer_of_object(value) if part_of(value, "kestova::NSObject") is not None else None


gdb.printing.register_pretty_printer(gdb.current_objfile(), KestovaPrinters(), replace=True)
