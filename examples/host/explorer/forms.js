// The forms of the page: the query, and the element that is written.

import { DEFAULT_LIMIT } from "./query.js";
import { isObject, make } from "./views.js";

const ANCHOR_HINT = "An index, negative from the end, or the id of an element.";
const LIST_OF_ATTRIBUTES = "attributes";

let lastId = 0;

/** A label with its control and, if there is one, a hint that a screen reader reads with it. */
function makeField(label, control, hint = "") {
    lastId += 1;
    control.id = `field-${lastId}`;
    if (hint)
        control.setAttribute("aria-describedby", `${control.id}-hint`);
    return make("div", { class: "field" },
        make("label", { for: control.id }, label),
        control,
        hint && make("p", { class: "hint", id: `${control.id}-hint` }, hint));
}

function makeInput(properties) {
    return make("input", { type: "text", autocomplete: "off", autocapitalize: "off", spellcheck: "false", ...properties });
}

function makeOptions(select, options, value) {
    const known = options.some(([option]) => option === value) ? options : [...options, [value, value]];
    select.append(...known.map(([option, text]) => make("option", { value: option, selected: option === value }, text)));
    return select;
}

/**
 * The form of a query. `onChange(changes)` is told each part that the user changes, `onAsk()` when it is to be
 * asked. The form follows `show`, which is called for every other way in which the query changes.
 */
export class QueryForm {
    #form;
    #onChange;
    #onClear;
    #parts = {};
    #specifications = {};
    #shown = "";

    constructor(form, { onChange, onAsk, onClear }) {
        this.#form = form;
        this.#onChange = onChange;
        this.#onClear = onClear;
        form.addEventListener("submit", (event) => {
            event.preventDefault();
            onAsk();
        });
    }

    /** Shows `query`. The specifications of the attributes tell what there is to choose from. */
    show(query, specifications) {
        const shown = JSON.stringify([query, specifications]);
        if (shown === this.#shown)
            return;
        this.#shown = shown;
        this.#specifications = specifications;
        this.#form.replaceChildren(
            make("datalist", { id: LIST_OF_ATTRIBUTES }, Object.keys(specifications).map((name) => make("option", { value: name }))),
            this.#makeSearch(query), this.#makeSort(query), this.#makePage(query), this.#makeFields(query),
            make("div", { class: "actions" },
                make("button", { class: "primary", type: "submit" }, "Ask"),
                make("button", { type: "button", click: () => this.#onClear() }, "Clear"),
                query.others.length > 0 && make("p", { class: "hint" },
                    "Kept as it is: " + query.others.map(({ name, value }) => `${name}=${value}`).join(", "))));
    }

    /** A part has changed: the form shows it already. */
    #tell(changes) {
        this.#shown = "";
        this.#onChange(changes);
    }

    #makeSearch(query) {
        const text = makeInput({ type: "search", value: query.text, input: () => this.#tell({ text: text.value }) });
        const rows = make("div", { class: "rows" });
        const tell = () => this.#tell({ searches: readRows(rows).filter(({ name, value }) => name && value) });
        const add = (search) => rows.append(this.#makeSearchRow(search, tell));
        query.searches.forEach(add);
        return make("fieldset", {},
            make("legend", {}, "Search"),
            makeField("Any text", text, "Commas stand between alternatives, % for any text: %ssh%"),
            rows,
            makeAddButton("Add an attribute", rows, () => add({ name: "", value: "" })));
    }

    #makeSearchRow({ name, value }, tell) {
        const row = make("div", { class: "row", role: "group", "aria-label": "Attribute search" },
            makeInput({ name: "name", value: name, list: LIST_OF_ATTRIBUTES, placeholder: "attribute", "aria-label": "Attribute", input: tell }),
            make("span", { "aria-hidden": "true" }, "="),
            makeInput({ name: "value", value, placeholder: "value", "aria-label": "Value", input: tell }));
        row.append(makeRemoveButton(row, "Remove this search", tell));
        return row;
    }

    #makeSort(query) {
        const rows = make("div", { class: "rows" });
        const tell = () => this.#tell({
            sort: readRows(rows).filter(({ name }) => name).map(({ name, order }) => ({ name, isDescending: order === "-" })),
        });
        const add = (key) => rows.append(this.#makeSortRow(key, tell));
        query.sort.forEach(add);
        return make("fieldset", {},
            make("legend", {}, "Sort by"),
            rows,
            makeAddButton("Add a sort key", rows, () => add({ name: "", isDescending: false })),
            make("p", { class: "hint" }, "The first key counts most; without any, elements come by their id."));
    }

    #makeSortRow({ name, isDescending }, tell) {
        const order = makeOptions(make("select", { name: "order", "aria-label": "Order", change: tell }),
            [["", "ascending"], ["-", "descending"]], isDescending ? "-" : "");
        const row = make("div", { class: "row", role: "group", "aria-label": "Sort key" },
            makeInput({ name: "name", value: name, list: LIST_OF_ATTRIBUTES, placeholder: "attribute", "aria-label": "Attribute", input: tell }),
            order);
        row.append(makeRemoveButton(row, "Remove this sort key", tell));
        return row;
    }

    #makeFields(query) {
        const chosen = new Map((query.fields ?? []).map((field) => [field.name, field]));
        const names = [...new Set([...Object.keys(this.#specifications), ...chosen.keys()])]
            .filter((name) => !["id", "name", "uri"].includes(name) || chosen.has(name));
        const list = make("div", { class: "choices" });
        const tell = () => this.#tell({ fields: readFields(list) });
        list.append(...names.map((name) => this.#makeChoice(name, chosen.get(name), tell)));
        return make("fieldset", { class: "wide" },
            make("legend", {}, "Fields"),
            names.length > 0 ? list : make("p", { class: "hint" }, "Nothing is known to choose from; write $fields into the address."),
            make("p", { class: "hint" }, "None chosen shows all."),
            this.#makeExpansion(query));
    }

    #makeExpansion({ expand }) {
        const references = Object.keys(this.#specifications).filter((name) => /reference/.test(this.#specifications[name].type));
        const select = makeOptions(make("select", { change: () => this.#tell({ expand: select.value }) }), [
            ["", "as links"], ["0", "level 0"], ["1", "level 1"], ["2", "level 2"], ["3", "level 3"],
            ...references.map((name) => [name, `only ${name}`]),
        ], expand);
        const field = makeField("References", select);
        field.classList.add("inline");
        return field;
    }

    #makeChoice(name, field, tell) {
        const isArray = /^array/.test(this.#specifications[name]?.type ?? "") || field?.limit !== undefined;
        const box = make("input", { type: "checkbox", name: "field", value: name, checked: Boolean(field), change: tell });
        const choice = make("div", { class: "choice" }, make("label", {}, box, " ", name));
        if (isArray) {
            const inputs = ["offset", "limit"].map((part) => makeInput({
                name: part, value: field?.[part] ?? "", placeholder: part === "offset" ? "0" : String(DEFAULT_LIMIT), inputmode: "numeric",
                "aria-label": part === "offset" ? `${name}: from which entry` : `${name}: how many entries`,
                input: () => {
                    box.checked = true;
                    tell();
                },
            }));
            choice.append(make("span", { class: "cut" }, "from", inputs[0], "at most", inputs[1]));
        }
        return choice;
    }

    #makePage(query) {
        const limit = makeInput({
            value: query.limit, inputmode: "numeric", placeholder: String(DEFAULT_LIMIT), input: () => this.#tell({ limit: limit.value.trim() }),
        });
        const offset = makeInput({ value: query.offset, placeholder: "0", input: () => this.#tell({ offset: offset.value.trim() }) });
        return make("fieldset", {},
            make("legend", {}, "Page"),
            makeField("Page size", limit, "100 at most; negative runs backward, 0 gives the total alone."),
            makeField("Anchor", offset, ANCHOR_HINT));
    }
}

function readRows(rows) {
    return [...rows.children].map((row) =>
        Object.fromEntries([...row.querySelectorAll("[name]")].map((control) => [control.name, control.value])));
}

function readFields(list) {
    const fields = [...list.children].flatMap((choice) => {
        const value = (name) => choice.querySelector(`[name=${name}]`)?.value.trim() ?? "";
        const box = choice.querySelector("[name=field]");
        return box.checked ? [{ name: box.value, offset: value("offset"), limit: value("limit") }] : [];
    });
    return fields.length > 0 ? fields : null;
}

function makeAddButton(text, rows, add) {
    return make("button", {
        class: "quiet add",
        type: "button",
        click: () => {
            add();
            rows.lastChild.querySelector("input").focus();
        },
    }, text);
}

function makeRemoveButton(row, text, tell) {
    return make("button", {
        class: "quiet remove",
        type: "button",
        "aria-label": text,
        title: text,
        click: () => {
            const next = row.nextElementSibling ?? row.previousElementSibling;
            const add = row.parentElement.nextElementSibling;
            row.remove();
            (next?.querySelector("input") ?? add).focus();
            tell();
        },
    }, "\u00D7");
}

// ---- writing ------------------------------------------------------------------------------------------------

/** The attributes that a client sets: the name first, what is only ticked last. */
function writable(specifications) {
    const rank = ([name, { type }]) => (name === "name" ? 0 : type === "boolean" ? 2 : 1);
    return Object.entries(specifications)
        .filter(([name, { readOnly }]) => !readOnly && !["id", "uri"].includes(name))
        .sort((left, right) => rank(left) - rank(right));
}

/** Controls by the type of an attribute: how each is made, and how its value is read. */
const CONTROLS = {
    boolean: {
        make: (value) => make("input", { type: "checkbox", checked: value === true }),
        read: (control) => control.checked,
    },
    number: {
        make: (value) => make("input", { type: "number", step: "any", value: value ?? "" }),
        read: (control) => (control.value === "" ? undefined : Number(control.value)),
    },
    string: {
        make: (value) => makeInput({ value: value ?? "", spellcheck: "true" }),
        read: (control) => control.value,
    },
    text: {
        make: (value) => make("textarea", { rows: "8" }, value ?? ""),
        read: (control) => control.value,
    },
    json: {
        make: (value) => make("textarea", { rows: "4", class: "code", spellcheck: "false" },
            value === undefined ? "" : JSON.stringify(value, null, 2)),
        read: (control) => (control.value.trim() === "" ? undefined : JSON.parse(control.value)),
    },
};

function controlOf(type) {
    if (/^(integer|number|float|double|time)$/.test(type))
        return CONTROLS.number;
    return CONTROLS[type] ?? (/^(array|object|reference)/.test(type) ? CONTROLS.json : CONTROLS.string);
}

function readControl(name, control, read) {
    try {
        return read(control);
    } catch (failure) {
        throw new Error(`'${name}' is no JSON: ${failure.message}`, { cause: failure });
    }
}

class ElementForm {
    constructor(specifications, element) {
        this.fields = writable(specifications).map(([name, specification]) => {
            const { make: makeControl, read } = controlOf(specification.type ?? "string");
            const control = makeControl(element?.[name]);
            const hint = [specification.description, specification.unit && `In ${specification.unit}.`].filter(Boolean).join(" ");
            const label = specification.optional ? `${name} (optional)` : name;
            return { name, specification, control, read, node: makeField(label, control, hint) };
        });
    }

    /** The body to send. An optional attribute that is empty is left out. */
    read() {
        const body = {};
        for (const { name, specification, control, read } of this.fields) {
            const value = readControl(name, control, read);
            if (value !== undefined && !(specification.optional && value === ""))
                body[name] = value;
        }
        return body;
    }

    /** Marks the field that `message` speaks of, if it is one, and moves the focus and `fault`, which tells it, there. */
    markFault(message, fault) {
        const atFault = this.fields.find(({ name }) => ["'", '"'].some((quote) => message.includes(quote + name + quote)));
        for (const field of this.fields)
            this.#mark(field, field === atFault ? fault.id : null);
        atFault?.control.after(fault);
        atFault?.control.focus();
    }

    #mark({ control }, messageId) {
        const hint = `${control.id}-hint`;
        control.toggleAttribute("aria-invalid", false);
        if (messageId)
            control.setAttribute("aria-invalid", "true");
        const described = [messageId, document.getElementById(hint) && hint].filter(Boolean).join(" ");
        if (described)
            control.setAttribute("aria-describedby", described);
    }
}

/** Shows a form in `dialog` until it is cancelled, or until `act` has come to its end without throwing. */
function ask(dialog, { title, content, action, isDangerous = false, act, onFault = () => {} }) {
    const fault = make("p", { class: "fault", id: "dialog-fault", role: "alert" });
    const submit = make("button", { type: "submit", class: isDangerous ? "danger" : "primary" }, action);
    const cancel = make("button", { type: "button", click: () => dialog.close() }, "Cancel");
    const actions = make("div", { class: "actions" }, submit, cancel);
    const form = make("form", { novalidate: true }, make("h2", { id: "dialog-title" }, title), content, fault, actions);
    form.addEventListener("submit", async (event) => {
        event.preventDefault();
        if (submit.getAttribute("aria-disabled") === "true")
            return;
        submit.setAttribute("aria-disabled", "true");
        fault.textContent = "";
        try {
            await act();
            dialog.close();
        } catch (failure) {
            actions.before(fault);
            onFault(failure.message, fault);
            fault.textContent = failure.message;
        } finally {
            submit.setAttribute("aria-disabled", "false");
        }
    });
    dialog.replaceChildren(form);
    dialog.showModal();
}

/** Lets the user write an element, a new one if `element` is null; `save(body)` sends it. */
export function editElement(dialog, { title, specifications, element, save }) {
    const form = new ElementForm(specifications, element);
    ask(dialog, {
        title,
        content: make("div", { class: "fields" }, form.fields.map(({ node }) => node)),
        action: element ? "Save" : "Create",
        act: () => save(form.read()),
        onFault: (message, fault) => form.markFault(message, fault),
    });
    form.fields[0]?.control.focus();
}

export function confirmDeletion(dialog, { name, remove }) {
    ask(dialog, {
        title: `Delete \u201C${name}\u201D?`,
        content: make("p", {}, "It cannot be brought back."),
        action: "Delete",
        isDangerous: true,
        act: remove,
    });
}

/** What a service tells of its attributes, completed by what an element has. */
export function specificationsFor(specification, rows) {
    const told = isObject(specification?.attributes) ? specification.attributes : {};
    const all = { ...told };
    for (const row of rows.filter(isObject)) {
        for (const [name, value] of Object.entries(row)) {
            if (!Object.hasOwn(all, name))
                all[name] = { type: typeOf(value) };
        }
    }
    return all;
}

function typeOf(value) {
    if (Array.isArray(value))
        return "array";
    if (isObject(value))
        return value.uri ? "reference" : "object";
    return typeof value;
}
