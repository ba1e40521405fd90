"""Shows the types of sinew in gdb.

gdb loads this file with the shared library if it is installed; otherwise: source sinew_gdb.py. Needs a host with debug
information; the containers are those of libstdc++.
"""

import gdb
import gdb.printing


def number(value):
    """A floating-point number with as many digits as it needs to be recognised."""
    return f"{float(value):.10g}"


def point(value):
    return "(" + ", ".join(number(value[axis]) for axis in "xyz") + ")"


def point2(value):
    return "(" + ", ".join(str(value[axis]) for axis in "xy") + ")"


def size(vector):
    """The number of elements of a std::vector."""
    storage = vector["_M_impl"]
    return int(storage["_M_finish"] - storage["_M_start"])


def element(vector, i):
    return vector["_M_impl"]["_M_start"][i]


# Compilers describe a class with virtual functions only where its first virtual function is compiled: in the library.
INCOMPLETE = "(only visible with the debug information of sinew)"


def is_complete(value):
    """Whether the debug information has the fields of a value, and not only the name of its type."""
    return len(value.type.strip_typedefs().fields()) > 0


class Value:
    """A type that is shown in one line."""

    def __init__(self, value):
        self.value = value


class Rows(Value):
    """A matrix, shown as its rows."""

    def children(self):
        for i in range(self.rows()):
            yield f"[{i}]", "(" + ", ".join(str(self.entry(i, j)) for j in range(self.columns())) + ")"


class Vector3(Value):
    def to_string(self):
        return point(self.value)


class Vect2(Value):
    def to_string(self):
        return point2(self.value)


class Bbox(Value):
    def to_string(self):
        return f"min {point(self.value['min'])}, max {point(self.value['max'])}"


class SquareMatrix(Rows):
    """Matrix3 and Matrix."""

    def __init__(self, value, count):
        super().__init__(value)
        self.count = count

    def rows(self):
        return self.count

    def columns(self):
        return self.count

    def entry(self, i, j):
        return number(self.value["entries_"][i][j])

    def to_string(self):
        return f"{self.count} x {self.count}"


class DenseMatrix(Rows):
    def rows(self):
        return int(self.value["rows"])

    def columns(self):
        return int(self.value["columns"])

    def entry(self, i, j):
        return element(self.value["entries"], i * self.columns() + j)

    def children(self):
        if self.rows() * self.columns() == size(self.value["entries"]):
            yield from super().children()

    def to_string(self):
        consistent = self.rows() * self.columns() == size(self.value["entries"])
        return f"{self.rows()} x {self.columns()}" + ("" if consistent else ", but another number of entries")


class Fields(Value):
    """A type with a summary and its fields below."""

    def children(self):
        for name in self.names:
            yield name, self.value[name]


class Transform(Fields):
    names = ("linear", "translation", "scale")

    def to_string(self):
        return "linear * (scale * p) + translation"


class BoneTransform(Fields):
    names = ("linear", "translation")

    def to_string(self):
        return "linear * p + translation"


class SmartPointer(Value):
    def to_string(self):
        if not self.value["base_"]:
            return "empty"
        if not is_complete(self.value["base_"].dereference()):
            return INCOMPLETE
        return f"count {int(self.value['base_']['referenceCount'])}"

    def children(self):
        if self.value["base_"] and is_complete(self.value["base_"].dereference()):
            yield "object", self.value["object_"].dereference()


class MeshFunction(Value):
    def to_string(self):
        value = self.value
        if not is_complete(value):
            return INCOMPLETE
        return (f"{size(value['params'])} vertices, {size(value['facets']) // 3} triangles, "
                f"{size(value['boundaryFacets'])} boundaries")


class Factor(Value):
    def to_string(self):
        rows = self.value["rows"]
        count = size(rows)
        entries = sum(size(element(rows, i)) for i in range(count))
        return f"{count} rows, {entries} entries below the diagonal"


class SymmetricMatrix(Value):
    def to_string(self):
        rows = self.value["rows"]
        count = size(rows)
        return f"{count} rows, {sum(size(element(rows, i)) for i in range(count))} entries"


def printers():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("sinew")
    for name, pattern, printer in (
            ("Vector3", r"^U?Vector3$", Vector3),
            ("vect2", r"^tzNM::vect2<.*>$", Vect2),
            ("Bbox", r"^Bbox$", Bbox),
            ("Matrix3", r"^Matrix3$", lambda value: SquareMatrix(value, 3)),
            ("Matrix", r"^Matrix$", lambda value: SquareMatrix(value, 4)),
            ("matrix", r"^matrix<.*>$", DenseMatrix),
            ("Transform", r"^Transform$", Transform),
            ("BoneTransform", r"^BoneTransform$", BoneTransform),
            ("smart_ptr", r"^smart_ptr<.*>$", SmartPointer),
            ("MeshFunction2D", r"^MeshFunction2D$", MeshFunction),
            ("LLTMatrix", r"^LLTMatrix$", Factor),
            ("SPDMatrix", r"^SPDMatrix$", SymmetricMatrix)):
        collection.add_printer(name, pattern, printer)
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
