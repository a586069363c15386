"""Printers with which GDB shows the objects of Vak by what they hold.

    (gdb) print x
    $1 = variable "x" in [0, 40]
    (gdb) print profits
    $2 = VakNumArray of 2 = {3, 4}
    (gdb) print solver
    $3 = VakSolverI of model "plan": optimal, 2 columns, 1 row = {x = 4, y = 0}

A handle is shown as what it refers to, and an implementation object alike. Nothing is called in the program:
printers read memory only, so they work on core files and inside broken programs, and say so when what they
read cannot be right. The library carries this file in a section of its own that GDB loads with the program;
`source vak_printers.py` does the same by hand. `print/r` shows the members as they are.
"""

import gdb
import gdb.printing

# ---- Reading ---------------------------------------------------------------------------------------------

VAK_MOST_ENTRIES = 1000000  # A list longer than this is taken for one that runs in a circle.
VAK_MOST_PLACES = 1 << 40  # No list or array in memory has more elements.


def vak_most_shown():
    """How many elements of anything the user wants to see."""
    most = gdb.parameter("print elements")
    return VAK_MOST_ENTRIES if not most else int(most)


def vak_text(pointer):
    """The text that a pointer to characters points to, in quotes; None for null."""
    if int(pointer) == 0:
        return None
    text = pointer.string(encoding="utf-8", errors="replace")
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def vak_number(value):
    """A number as streams write it."""
    return f"{float(value):.6g}"


def vak_count(count, singular, plural=None):
    """A count in words, as in: 3 properties."""
    return f"{count} {singular if count == 1 else plural or singular + 's'}"


def vak_whole(pointer):
    """The whole object behind a pointer to one of its base classes."""
    return pointer.cast(pointer.dynamic_type).dereference()


def vak_class(value):
    """The name of the class of a whole object."""
    return value.type.strip_typedefs().unqualified().name


def vak_walk(pointer, link):
    """The entries of a linked list that begins at a pointer."""
    for _ in range(VAK_MOST_ENTRIES):
        if int(pointer) == 0:
            return
        yield pointer.dereference()
        pointer = pointer[link]
    raise gdb.error("the list does not end")


def vak_vector(vector):
    """The elements of a std::vector."""
    first, last = vector["_M_impl"]["_M_start"], vector["_M_impl"]["_M_finish"]
    for i in range(int(last - first)):
        yield first[i]


# ---- Texts about modelling objects -----------------------------------------------------------------------

VAK_OBJECT_KINDS = {
    "VakModelVarI": "variable",
    "VakConstraintI": "constraint",
    "VakObjectiveI": "objective",
    "VakNumLinExprI": "expression",
    "VakModelI": "model",
}
VAK_KINDS = ("", "integer ", "Boolean ")


def vak_name(extensible):
    """The name of an object that may carry one, in quotes; None when it has none."""
    extension = extensible["_extension"]
    return None if int(extension) == 0 else vak_text(extension["_name"])


def vak_object(extractable):
    """An extractable in words, as in: variable "x", model #3."""
    kind = VAK_OBJECT_KINDS.get(vak_class(extractable), vak_class(extractable))
    return f"{kind} {vak_name(extractable) or '#' + str(int(extractable['id']))}"


def vak_term(number, coef, variable):
    """One term of a sum, with its sign; `variable` points to the variable."""
    coef = float(coef)
    text = ""
    if number > 0:
        text = " - " if coef < 0 else " + "
        coef = abs(coef)
    elif coef == -1:
        text, coef = "-", 1
    if coef != 1:
        text += vak_number(coef) + " "
    if int(variable) == 0:
        return text + "no variable"
    whole = vak_whole(variable)
    name = vak_name(whole)
    return text + (name[1:-1] if name else "#" + str(int(whole["id"])))


def vak_sum(terms, constant):
    """Terms, as pairs of coefficient and pointer to a variable, and a constant."""
    text, number = "", 0
    for coef, variable in terms:
        if number == vak_most_shown():
            text += " + ..."
            break
        text += vak_term(number, coef, variable)
        number += 1
    constant = float(constant)
    if number == 0:
        return vak_number(constant)
    if constant != 0:
        text += (" - " if constant < 0 else " + ") + vak_number(abs(constant))
    return text


def vak_linked_terms(terms):
    """The pairs of a list of terms."""
    return ((term["coef"], term["var"]) for term in vak_walk(terms["_first"], "next"))


def vak_expr_terms(expr):
    """The pairs of an expression that is a value."""
    return ((term["coef"], term["var"]["_impl"]) for term in vak_vector(expr["_terms"]))


def vak_between(lower, text, upper):
    """A text with the bounds it has to stay in."""
    lower, upper = float(lower), float(upper)
    infinity = float("inf")
    if lower == upper:
        return f"{text} == {vak_number(upper)}"
    if upper == infinity and lower != -infinity:
        return f"{text} >= {vak_number(lower)}"
    if lower != -infinity:
        text = f"{vak_number(lower)} <= {text}"
    return text + (" free" if upper == infinity else f" <= {vak_number(upper)}")


def vak_variable_bounds(variable):
    """The kind of a variable and its bounds as texts; see vakmodel/variable_impl.h."""
    domain = int(variable["_domain"])
    kind, own, address = domain & 3, domain & 4, domain & ~7
    if address == 0:
        return VAK_KINDS[kind], "0", "1" if kind == 2 else "inf"
    if own:
        bounds = gdb.Value(address).cast(gdb.lookup_type("VakOwnBoundsI").pointer())
        return VAK_KINDS[kind], vak_number(bounds["lb"]), vak_number(bounds["ub"])
    base = gdb.Value(address).cast(gdb.lookup_type("VakVarDomainI").pointer())
    shared = vak_whole(base)
    return VAK_KINDS[kind], vak_number(shared["_lb"]), vak_number(shared["_ub"])


def vak_members(places):
    """The members of one of a model's lists; see vakmodel/model_impl.h."""
    shift = 7
    for place in range(int(places["_size"])):
        member = places["_table"][place >> shift][place & ((1 << shift) - 1)]
        if int(member) != 0:
            yield vak_whole(member)


# ---- The printers ----------------------------------------------------------------------------------------


class VakPrinter:
    """Base of the printers: a text, and perhaps children. A printer that cannot read what it is to show says
    so instead of failing."""

    def __init__(self, value):
        self.value = value

    def describe(self):
        raise NotImplementedError

    def to_string(self):
        try:
            return self.describe()
        except (gdb.error, gdb.MemoryError, UnicodeError, OverflowError, IndexError) as failure:
            return f"<{vak_class(self.value)} that cannot be shown: {failure}>"


class VakChildrenPrinter(VakPrinter):
    """Base of the printers with children. Where they cannot be read, a last child says why."""

    def list_children(self):
        raise NotImplementedError

    def children(self):
        try:
            yield from self.list_children()
        except (gdb.error, gdb.MemoryError, UnicodeError, OverflowError, IndexError) as failure:
            if self.display_hint() == "map":
                yield "key", "the rest"
            yield "the rest", f"<cannot be shown: {failure}>"

    def display_hint(self):
        return None


class VakVariablePrinter(VakPrinter):
    def describe(self):
        kind, lower, upper = vak_variable_bounds(self.value)
        return f"{kind}{vak_object(self.value)} in [{lower}, {upper}]"


class VakConstraintPrinter(VakPrinter):
    def describe(self):
        terms = vak_sum(vak_linked_terms(self.value["_terms"]), 0)
        return f"{vak_object(self.value)}: " + vak_between(
            self.value["_lb"], terms, self.value["_ub"]
        )


class VakObjectivePrinter(VakPrinter):
    def describe(self):
        sense = "maximize" if int(self.value["_sense"]) else "minimize"
        terms = vak_sum(vak_linked_terms(self.value["_terms"]), self.value["_constant"])
        return f"{vak_object(self.value)}: {sense} {terms}"


class VakStoredExpressionPrinter(VakPrinter):
    def describe(self):
        terms = vak_sum(vak_linked_terms(self.value["_terms"]), self.value["_constant"])
        return f"{vak_object(self.value)}: {terms}"


class VakModelPrinter(VakChildrenPrinter):
    def describe(self):
        variables = vak_count(int(self.value["_variables"]["_count"]), "variable")
        constraints = vak_count(int(self.value["_constraints"]["_count"]), "constraint")
        return f"{vak_object(self.value)}: {variables}, {constraints}"

    def list_children(self):
        objective = self.value["_objective"]
        if int(objective) != 0:
            yield "objective", objective.dereference()
        for i, constraint in enumerate(vak_members(self.value["_constraints"])):
            yield f"constraint {i}", constraint
        for i, variable in enumerate(vak_members(self.value["_variables"])):
            yield f"variable {i}", variable


class VakExtractablePrinter(VakPrinter):
    """Extractables of classes that this file does not know."""

    def describe(self):
        return vak_object(self.value)


class VakExprPrinter(VakPrinter):
    def describe(self):
        return vak_sum(vak_expr_terms(self.value), self.value["_constant"])


class VakTermPrinter(VakPrinter):
    def describe(self):
        return vak_term(0, self.value["coef"], self.value["var"]["_impl"])


class VakLinkedTermPrinter(VakPrinter):
    def describe(self):
        return vak_term(0, self.value["coef"], self.value["var"])


class VakRelationPrinter(VakPrinter):
    def describe(self):
        expr = self.value["_expr"]
        text = vak_sum(vak_expr_terms(expr), expr["_constant"])
        return vak_between(self.value["_lower"], text, self.value["_upper"])


class VakArrayPrinter(VakChildrenPrinter):
    """Handles of arrays, whose elements have the type that the handle says."""

    def __init__(self, value):
        super().__init__(value)
        base = value.type.strip_typedefs()
        while not base.name.startswith("VakArray<"):
            base = base.fields()[0].type.strip_typedefs()
        self.element = base.template_argument(0)
        self.impl = value["_impl"]

    def describe(self):
        if int(self.impl) == 0:
            return f"empty {vak_class(self.value)}"
        return f"{vak_class(self.value)} of {int(self.impl['_size'])}"

    def list_children(self):
        if int(self.impl) == 0 or int(self.impl["_data"]) == 0:
            return
        size, shift, mask = (int(self.impl[name]) for name in ("_size", "_shift", "_mod"))
        if size > VAK_MOST_PLACES:
            return
        for i in range(size):
            chunk = self.impl["_data"][i >> shift].cast(self.element.pointer())
            yield str(i), chunk[i & mask]

    def display_hint(self):
        return "array"


class VakArrayImplementationPrinter(VakPrinter):
    def describe(self):
        size, element, most = (int(self.value[name]) for name in ("_size", "_elementSize", "_max"))
        return f"VakArrayI: {vak_count(size, 'element')} of {element} bytes, capacity {most}"


def vak_property_value(value):
    """The value of a property, or None for a kind without one."""
    if vak_class(value) == "VakNamedStringPropertyI":
        return vak_text(value["_value"]) or "null"
    if vak_class(value) == "VakNamedNumPropertyI":
        return vak_number(value["_value"])
    if vak_class(value) in ("VakNamedIntPropertyI", "VakNamedAnyPropertyI"):
        return str(value["_value"])
    return None


class VakPropertyPrinter(VakPrinter):
    def describe(self):
        shown = vak_property_value(self.value)
        name = vak_text(self.value["_name"]) or "without a name"
        return f"property {name}" + ("" if shown is None else f" = {shown}")


class VakPropertySetPrinter(VakChildrenPrinter):
    def describe(self):
        count = sum(1 for _ in vak_walk(self.value["_first"], "_next"))
        return vak_count(count, "property", "properties")

    def list_children(self):
        for entry in vak_walk(self.value["_first"], "_next"):
            held = vak_whole(entry["_property"])
            yield (vak_text(held["_name"]) or "null")[1:-1], vak_property_value(held) or "(no value)"


class VakHashTablePrinter(VakChildrenPrinter):
    def describe(self):
        items = vak_count(int(self.value["_nbItems"]), "item")
        buckets = vak_count(int(self.value["_size"]), "bucket")
        return f"{vak_class(self.value)} with {items} in {buckets}"

    def list_children(self):
        if int(self.value["_buckets"]) == 0 or int(self.value["_size"]) > VAK_MOST_PLACES:
            return
        for b in range(int(self.value["_size"])):
            for item in vak_walk(self.value["_buckets"][b], "_next"):
                yield "key", item["_key"]
                yield "value", item["_value"]

    def display_hint(self):
        return "map"


class VakIdManagerPrinter(VakChildrenPrinter):
    def live(self):
        """Identifiers and extractables of the slots that are in use."""
        first = int(self.value["_data"])
        if first == 0:
            return
        behind = first + 8 * int(self.value["_capacity"])
        hidden = (1 << 64) - 1
        for i in range(int(self.value["_size"])):
            slot = int(self.value["_data"][i]) & hidden
            if slot not in (0, hidden) and not first <= slot < behind:
                pointer = self.value["_data"][i].cast(gdb.lookup_type("VakExtractableI").pointer())
                yield i, pointer

    def describe(self):
        live = vak_count(sum(1 for _ in self.live()), "identifier")
        return f"{live} in use of {int(self.value['_capacity'])}"

    def list_children(self):
        for i, pointer in self.live():
            yield f"#{i}", vak_object(vak_whole(pointer))


class VakEnvironmentPrinter(VakChildrenPrinter):
    def classes(self):
        """The size classes of the pool and the terms' own."""
        allocators = self.value["_memory"]["_allocators"]
        low, high = allocators.type.range()
        for i in range(low, high + 1):
            yield allocators[i]
        if int(self.value["_termAllocator"]) != 0:
            yield self.value["_termAllocator"]

    def state(self):
        if int(self.value["_ending"]) != 0:
            return "ending"
        if int(self.value["_endedSteps"]) != 0:
            return "ended"
        if int(self.value["_recycleBin"]) != 0:
            return "removing"
        return "alive"

    def describe(self):
        used = sum(int(each["_bytesInUse"]) for each in self.classes())
        name = vak_name(self.value)
        return f"environment {name + ' ' if name else ''}with {used} bytes in use"

    def list_children(self):
        yield "state", self.state()
        yield "version", self.value["_version"]
        yield "pooled", "yes" if int(self.value["_useMemoryManager"]) else "no"
        obtained = sum(int(each["_bytesObtained"]) for each in self.classes())
        yield "bytes obtained", obtained + int(self.value["_memory"]["_bytesObtained"])
        if int(self.value["_idManager"]) != 0:
            identifiers = VakIdManagerPrinter(self.value["_idManager"].dereference())
            yield "identifiers", identifiers.to_string()
        algorithms = vak_walk(self.value["_algorithms"], "next")
        names = [vak_class(vak_whole(each.address)) for each in algorithms]
        yield "algorithms", ", ".join(names) or "none"
        if int(self.value["_destroyables"]) != 0:
            yield "destroyables", self.value["_destroyables"]["table"]["_nbItems"]
        if int(self.value["_plugInManager"]) != 0:
            cells = vak_walk(self.value["_plugInManager"]["first"], "next")
            yield "plug-ins", ", ".join(vak_text(cell["name"]) for cell in cells) or "none"
        yield from self.properties()

    def properties(self):
        extension = self.value["_extension"]
        if int(extension) != 0 and int(extension["_objectExtension"]) != 0:
            properties = extension["_objectExtension"]["_properties"]
            if int(properties) != 0:
                yield "properties", properties.dereference()


class VakAlgorithmPrinter(VakPrinter):
    def describe(self):
        attached = "attached" if self.value["_isAttached"] else "not attached"
        return f"{vak_class(self.value)}, {attached}"


def vak_status(status):
    """How a solve ended, in words: "time limit" for VakStatus::TimeLimit."""
    name = str(status).rsplit("::", 1)[-1]
    return "".join(" " + letter.lower() if letter.isupper() else letter for letter in name).strip()


class VakModelAlgorithmPrinter(VakChildrenPrinter):
    """Algorithms that solve a model: what of it they hold, and how the last solve ended."""

    def describe(self):
        name, model = vak_class(self.value), self.value["_model"]
        attached = "" if self.value["_isAttached"] else ", not attached"
        if int(model) == 0:
            return f"{name} without a model{attached}"
        if self.value["_isRunning"]:
            state = "solving"
        else:
            state = vak_status(self.value["_status"])
        if self.value["_isLoaded"]:
            columns = sum(1 for _ in vak_vector(self.value["_columns"]))
            rows = sum(1 for _ in vak_vector(self.value["_rows"]))
            state += f", {vak_count(columns, 'column')}, {vak_count(rows, 'row')}"
        else:
            state += ", not loaded"
        return f"{name} of {vak_object(model.dereference())}: {state}{attached}"

    def list_children(self):
        return iter(())


class VakSolverPrinter(VakModelAlgorithmPrinter):
    """The library's own solver, with the values of its solution."""

    def list_children(self):
        if not self.value["_hasValues"] or not self.value["_isLoaded"]:
            return
        values = vak_vector(self.value["_values"])
        for variable, value in zip(vak_vector(self.value["_columns"]), values):
            whole = vak_whole(variable)
            name = vak_name(whole)
            yield (name[1:-1] if name else "#" + str(int(whole["id"]))), vak_number(value)


class VakSymbolPrinter(VakPrinter):
    def describe(self):
        return f"symbol {vak_text(self.value['_name'])} with code {int(self.value['_code'])}"


class VakExceptionPrinter(VakPrinter):
    def describe(self):
        return f"{vak_class(self.value)}: {vak_text(self.value['_message']) or 'no message'}"


def vak_word(address, place):
    """A word of an array of words in memory, among them atomic ones that programs do not describe."""
    return int(gdb.Value(address).cast(gdb.lookup_type("unsigned long").pointer())[place])


class VakRefPrinter(VakPrinter):
    """References, which notice the end of their object; see vakmodel/ref.h."""

    PAGE_LENGTH = 512  # As in vakenv/registry/reference_table.cpp.
    FIRST_LIST_LENGTH = 64

    def stamp_in(self, env):
        """The stamp that the environment has for the identifier of the object; 0 for none."""
        page, slot = divmod(int(self.value["_id"]), self.PAGE_LENGTH)
        number = (page // self.FIRST_LIST_LENGTH).bit_length()
        if number > 0:
            page -= self.FIRST_LIST_LENGTH << (number - 1)
        address = int(env["_registry"]["references"]["_directory"]["_M_b"]["_M_p"])
        for place in (number, page, slot):
            if address == 0:
                return 0
            address = vak_word(address, place)
        return address

    def environment(self):
        """The environment of the object; None when it has ended."""
        cell = self.value["_life"]["_cell"]
        if int(cell["number"]["_M_i"]) != int(self.value["_life"]["_number"]):
            return None
        return cell["env"].dereference()

    def describe(self):
        if int(self.value["_stamp"]) == 0:
            return f"empty {vak_class(self.value)}"
        what = f"{self.value['_kind'].string()} #{int(self.value['_id'])}"
        env = self.environment()
        if env is None:
            return f"reference to {what}, which went with its environment"
        if self.stamp_in(env) != int(self.value["_stamp"]):
            return f"reference to {what}, which is gone"
        handle = vak_handle_printer(self.value["_handle"])
        return f"reference to {handle.to_string() if handle else what}"


# The first entry that a class is, or derives from, prints it.
VAK_IMPLEMENTATIONS = (
    ("VakModelVarI", VakVariablePrinter),
    ("VakConstraintI", VakConstraintPrinter),
    ("VakObjectiveI", VakObjectivePrinter),
    ("VakNumLinExprI", VakStoredExpressionPrinter),
    ("VakModelI", VakModelPrinter),
    ("VakExtractableI", VakExtractablePrinter),
    ("VakArrayI", VakArrayImplementationPrinter),
    ("VakPreNamedPropertyI", VakPropertyPrinter),
    ("VakNamedPropertySetI", VakPropertySetPrinter),
    ("VakIdManager", VakIdManagerPrinter),
    ("VakEnvI", VakEnvironmentPrinter),
    ("VakSolverI", VakSolverPrinter),
    ("VakModelAlgorithmI", VakModelAlgorithmPrinter),
    ("VakAlgorithmI", VakAlgorithmPrinter),
    ("VakSymbolI", VakSymbolPrinter),
    ("VakExceptionBase", VakExceptionPrinter),
    ("VakHashTable<", VakHashTablePrinter),
    ("VakEnvHashTable<", VakHashTablePrinter),
)
VAK_VALUES = (
    ("VakExpr", VakExprPrinter),
    ("VakTerm", VakTermPrinter),
    ("VakNumLinExprTermI", VakLinkedTermPrinter),
    ("VakRelation", VakRelationPrinter),
    ("VakArray<", VakArrayPrinter),
    ("VakRef<", VakRefPrinter),
)
# No whole object is of these classes; GDB takes what it does not recognise for one of them.
VAK_ABSTRACT = ("VakExtractableI", "VakAlgorithmI", "VakNamedPropertyI")
VAK_HANDLES = (
    "VakExtractable",
    "VakAlgorithm",
    "VakNamedProperty",
    "VakNamedPropertySet",
    "VakEnv",
)


class VakEmptyPrinter(VakPrinter):
    """An empty handle."""

    def describe(self):
        return f"empty {vak_class(self.value)}"


class VakBrokenPrinter(VakPrinter):
    """A handle whose object cannot be told: it ended, or the handle was never set."""

    def describe(self):
        return f"{vak_class(self.value)} on {self.value['_impl']}, which is no living object"


# ---- Finding the printer of a value ----------------------------------------------------------------------


def vak_lineage(class_type):
    """The names of a class and of all its base classes."""
    class_type = class_type.strip_typedefs().unqualified()
    yield class_type.name or ""
    for field in class_type.fields():
        if field.is_base_class:
            yield from vak_lineage(field.type)


def vak_choose(class_type, table):
    """The printer that the table gives for a class."""
    names = list(vak_lineage(class_type))
    for name, printer in table:
        if any(each == name or (name[-1] == "<" and each.startswith(name)) for each in names):
            return printer
    return None


def vak_require_readable(pointer):
    """Raises gdb.MemoryError when there is no memory behind a pointer."""
    int(pointer.cast(gdb.lookup_type("char").pointer()).dereference())


def vak_handle_printer(value):
    """The printer of what a handle refers to, with the whole object."""
    impl = value["_impl"]
    if int(impl) == 0:
        return VakEmptyPrinter(value)
    try:
        vak_require_readable(impl)
        whole = vak_whole(impl)
        if vak_class(whole) in VAK_ABSTRACT:
            return VakBrokenPrinter(value)
        printer = vak_choose(whole.type, VAK_IMPLEMENTATIONS)
        return printer(whole) if printer else None
    except (gdb.error, gdb.MemoryError):
        return VakBrokenPrinter(value)


def vak_manager_printer(value):
    """A memory manager: the environment that it belongs to, if any."""
    impl = value["_impl"]
    if int(impl) == 0:
        return VakEmptyPrinter(value)
    try:
        whole = vak_whole(impl)
        if "VakTarnAlloc" in vak_lineage(whole.type):
            return VakEnvironmentPrinter(whole["env"].dereference())
        return None
    except (gdb.error, gdb.MemoryError):
        return VakBrokenPrinter(value)


class VakPrinters(gdb.printing.PrettyPrinter):
    """Finds the printer of any value whose class is one of the library's or derives from one."""

    def __init__(self):
        super().__init__("vak")

    def __call__(self, value):
        if value.type.code == gdb.TYPE_CODE_REF:
            value = value.referenced_value()
        class_type = value.type.strip_typedefs().unqualified()
        if class_type.code != gdb.TYPE_CODE_STRUCT or not class_type.fields():
            return None
        names = set(vak_lineage(class_type))
        printer = vak_choose(class_type, VAK_VALUES)
        if printer:
            return printer(value)
        if names.intersection(VAK_HANDLES):
            return vak_handle_printer(value)
        if "VakMemoryManager" in names:
            return vak_manager_printer(value)
        if not any(name.startswith("Vak") for name in names):
            return None
        whole = self.whole(value)
        printer = vak_choose(whole.type, VAK_IMPLEMENTATIONS)
        return printer(whole) if printer else None

    @staticmethod
    def whole(value):
        """The whole object of which a value may be the base."""
        try:
            return value if value.address is None else vak_whole(value.address)
        except (gdb.error, gdb.MemoryError):
            return value


gdb.printing.register_pretty_printer(gdb.current_objfile(), VakPrinters(), replace=True)
