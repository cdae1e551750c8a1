"""Shows addresses, pages and attributes in GDB as a person would write them.

GDB loads it together with libKYRZoviLib. In a build folder: source ZoviLib/gdb/printers.py
"""

import gdb
import gdb.printing


def text_of(string):
    """The content of a std::string, whatever other printers are loaded."""
    length = int(string["_M_string_length"])
    return string["_M_dataplus"]["_M_p"].string(encoding="utf-8", errors="replace", length=length)


def quoted(string):
    return '"' + text_of(string).replace("\\", "\\\\").replace('"', '\\"') + '"'


def enumerator(value):
    return str(value).rpartition("::")[2]


def pointer_of(unique_ptr):
    """The pointer in a std::unique_ptr: the only one among its nested parts."""
    value = unique_ptr
    while value.type.strip_typedefs().code != gdb.TYPE_CODE_PTR:
        fields = [field for field in value.type.strip_typedefs().fields() if field.type.sizeof >= 8]
        value = value[fields[0]]
    return value


class UrlPathPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        kind = enumerator(self.value["characteristic"])
        if kind == "INVALID":
            return "INVALID " + text_of(self.value["uri"]["_path"])
        levels = [text_of(self.value[level]) for level in ("service", "resource", "element")]
        return "%s /%s" % (kind, "/".join(level for level in levels if level))


class PagingPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        if not self.value["m_valid"]:
            return "invalid"
        kind = enumerator(self.value["m_type"])
        offset = text_of(self.value["m_uuidOffset"]) or int(self.value["m_numberOffset"])
        return "%s offset %s limit %d" % (kind, offset, int(self.value["m_limit"]))


class ValuePrinter:
    """A typed value: what it holds."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        held = self.value["m_value"]
        try:
            return quoted(held)
        except gdb.error:
            return str(held)


class AttributePrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        name = text_of(self.value["m_name"])
        value = pointer_of(self.value["m_value"])
        if int(value) == 0:
            return name + " without a value"
        return "%s = %s" % (name, ValuePrinter(value.dereference()).to_string())


def collection():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("libKYRZoviLib")
    printers.add_printer("UrlPath", "^Zovi::Command::UrlPath$", UrlPathPrinter)
    printers.add_printer("Paging", "^Zovi::Command::Paging$", PagingPrinter)
    printers.add_printer("Attribute", "^Zovi::Data::Attribute<.*>$", AttributePrinter)
    printers.add_printer(
        "AttributeValue", "^Zovi::Data::AttributeValue(Integer|(Stringable|Array)?<.*>)$", ValuePrinter)
    return printers


gdb.printing.register_pretty_printer(gdb.current_objfile(), collection(), replace=True)
