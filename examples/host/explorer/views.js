// How values, elements and collections look. Texts go in as text nodes: nothing that a service says is ever
// taken for markup.

import { formatHash, parseQuery, segmentsOf, withQuery, withSortToggled } from "./query.js";

const NBSP = "\u00A0";
const REFERENCE_KEYS = ["id", "name", "uri"];

/** Makes an element. Functions become listeners, false and null leave an attribute out. */
export function make(tag, properties = {}, ...children) {
    const node = document.createElement(tag);
    for (const [name, value] of Object.entries(properties)) {
        if (typeof value === "function")
            node.addEventListener(name, value);
        else if (value !== false && value !== null && value !== undefined)
            node.setAttribute(name, value === true ? "" : value);
    }
    node.append(...children.flat().filter((child) => child !== null && child !== undefined && child !== false && child !== ""));
    return node;
}

/**
 * Runs what replaces parts of the page, and gives the focus back to the control that had it: the new one of
 * the same `data-focus`.
 */
export function keepingFocus(scope, replace) {
    const key = scope.contains(document.activeElement) ? document.activeElement.dataset.focus : null;
    replace();
    if (key && !scope.contains(document.activeElement))
        scope.querySelector(`[data-focus="${CSS.escape(key)}"]`)?.focus({ preventScroll: true });
}

// ---- numbers, times, texts ----------------------------------------------------------------------------------

function grouped(number) {
    return number.toLocaleString("en", { maximumFractionDigits: 3 }).replace(/,/g, NBSP);
}

export function formatBytes(bytes) {
    const units = ["KiB", "MiB", "GiB", "TiB", "PiB", "EiB"];
    if (Math.abs(bytes) < 10_000)
        return grouped(bytes) + NBSP + "B";
    let amount = bytes / 1024;
    let unit = 0;
    while (Math.abs(amount) >= 1000 && unit < units.length - 1) {
        amount /= 1024;
        unit += 1;
    }
    const digits = Math.abs(amount) >= 100 ? 0 : Math.abs(amount) >= 10 ? 1 : 2;
    return amount.toFixed(digits) + NBSP + units[unit];
}

export function formatDuration(milliseconds) {
    if (Math.abs(milliseconds) < 1000)
        return milliseconds + NBSP + "ms";
    const seconds = Math.floor(milliseconds / 1000);
    if (seconds < 60)
        return (milliseconds / 1000).toFixed(milliseconds % 1000 ? 1 : 0) + NBSP + "s";
    const parts = [
        [Math.floor(seconds / 86_400), "d"],
        [Math.floor(seconds / 3600) % 24, "h"],
        [Math.floor(seconds / 60) % 60, "min"],
        [seconds % 60, "s"],
    ];
    const first = parts.findIndex(([amount]) => amount > 0);
    return parts.slice(first, first + 2).map(([amount, unit]) => amount + NBSP + unit).join(" ");
}

/** Local time, in the order in which it sorts. */
export function formatTime(milliseconds) {
    const time = new Date(milliseconds);
    if (Number.isNaN(time.getTime()))
        return String(milliseconds);
    const two = (number) => String(number).padStart(2, "0");
    return `${time.getFullYear()}-${two(time.getMonth() + 1)}-${two(time.getDate())} ` +
        `${two(time.getHours())}:${two(time.getMinutes())}:${two(time.getSeconds())}`;
}

function exact(value, unit) {
    return grouped(value) + (unit ? " " + unit : "");
}

function makeNumber(value, { unit = "", type = "" }) {
    if (type === "time") {
        const time = new Date(value);
        const iso = Number.isNaN(time.getTime()) ? null : time.toISOString();
        return make("time", { datetime: iso, title: iso, class: "number" }, formatTime(value));
    }
    if (unit === "bytes")
        return make("span", { class: "number", title: exact(value, unit) }, formatBytes(value));
    if (unit === "ms")
        return make("span", { class: "number", title: exact(value, unit) }, formatDuration(value));
    return make("span", { class: "number" }, unit ? grouped(value) + NBSP + unit : String(value));
}

// ---- values -------------------------------------------------------------------------------------------------

export function isObject(value) {
    return value !== null && typeof value === "object" && !Array.isArray(value);
}

export function isReference(value) {
    return isObject(value) && typeof value.uri === "string" && value.uri.startsWith("/");
}

function isBareReference(value) {
    return isReference(value) && Object.keys(value).every((key) => REFERENCE_KEYS.includes(key));
}

export function nameOf(object) {
    return String(object.name || object.id || object.uri || "");
}

export function makeLink(address, text, properties = {}) {
    return make("a", { href: formatHash({ address }), ...properties }, text);
}

/**
 * Makes what shows `value`. `context` says
 * - `specification`: what the service tells of the attribute, if it does,
 * - `attribute` and `owner`: where the value stands, so that a reference in it can be opened in place,
 * - `open`: a function that opens such a reference; without it there is a link alone.
 */
export function makeValue(value, context = {}) {
    const { specification = {} } = context;
    if (value === null || value === undefined)
        return make("span", { class: "nothing" }, "\u2013");
    if (typeof value === "number")
        return makeNumber(value, specification);
    if (typeof value === "boolean")
        return make("span", { class: "boolean" }, String(value));
    if (Array.isArray(value))
        return makeList(value, context);
    if (isBareReference(value))
        return makeReference(value, context);
    if (isObject(value))
        return isReference(value) ? makeNested(value, context) : makeMembers(value, context);
    return makeText(String(value), context);
}

function makeText(text, { attribute }) {
    if (text === "")
        return make("span", { class: "nothing" }, "empty");
    if (attribute === "uri" && text.startsWith("/"))
        return makeLink(text, text, { class: "code" });
    return make("span", { class: attribute === "id" ? "code" : text.length > 40 ? "text long" : "text" }, text);
}

function makeList(values, context) {
    if (values.length === 0)
        return make("span", { class: "nothing" }, "none");
    const isShort = values.every((value) => !isObject(value) && !Array.isArray(value));
    return make("ul", { class: isShort ? "list short" : "list" },
        values.map((value) => make("li", {}, makeValue(value, { ...context, isMany: true }))));
}

/** A link, and a button that opens what it leads to at this place. */
function makeReference(reference, context) {
    const link = makeLink(reference.uri, nameOf(reference));
    if (!context.open || !context.owner?.uri || context.isMany)
        return make("span", { class: "reference" }, link);
    const button = make("button", {
        type: "button",
        class: "disclose",
        "aria-expanded": "false",
        "aria-label": `Open ${context.attribute} ${nameOf(reference)} here`,
        "data-focus": `open ${context.owner.uri} ${context.attribute}`,
        click: () => context.open(button, context),
    });
    return make("span", { class: "reference" }, link, button);
}

/** An element inside another one. */
export function makeNested(object, context = {}) {
    return make("div", { class: "nested" },
        make("p", { class: "nested-title" }, makeLink(object.uri, nameOf(object))),
        makeMembers(object, { ...context, owner: object, skips: ["name", "uri"] }));
}

function makeMembers(object, context) {
    const names = Object.keys(object).filter((name) => !context.skips?.includes(name));
    if (names.length === 0)
        return make("span", { class: "nothing" }, "nothing");
    const specifications = context.specifications ?? {};
    return make("dl", { class: "members" }, names.map((name) => make("div", {},
        make("dt", {}, /^\/[^<>]*$/.test(name) ? makeLink(name, name) : name),
        make("dd", {}, makeValue(object[name], {
            ...context, attribute: name, specification: specifications[name], skips: undefined, isMany: false,
        })))));
}

// ---- an element ---------------------------------------------------------------------------------------------

/** The name first, then what clients set, what the service sets, lists and references, the identity. */
function inOrder(names, specifications) {
    const rank = (name) => {
        const { type = "", readOnly } = specifications[name] ?? {};
        const fixed = ["name", "id", "uri"].indexOf(name);
        return fixed >= 0 ? [0, 4, 5][fixed] : /^(array|reference)/.test(type) ? 3 : readOnly ? 2 : 1;
    };
    return [...names].sort((left, right) => rank(left) - rank(right));
}

/** Whether two values read the same. */
function isSame(left, right) {
    return JSON.stringify(left) === JSON.stringify(right);
}

/** One element as a card; `previous` is what it was before, so that changes can be marked. */
export function makeCard(object, specifications, open, previous = null) {
    const names = inOrder(Object.keys(object), specifications);
    return make("dl", { class: "card" }, names.map((name) => {
        const specification = specifications[name] ?? {};
        const hasChanged = previous !== null && !isSame(previous[name], object[name]);
        return make("div", { class: hasChanged ? "changed" : null },
            make("dt", {}, name,
                specification.description && make("small", {}, specification.description)),
            make("dd", {}, makeValue(object[name], { attribute: name, specification, owner: object, open }),
                hasChanged && make("span", { class: "mark" }, "changed")));
    }));
}

// ---- a collection -------------------------------------------------------------------------------------------

function columnsOf(rows, specifications, query, isResource) {
    const present = new Set(rows.flatMap((row) => (isObject(row) ? Object.keys(row) : [])));
    const chosen = query.fields?.map((field) => field.name) ?? [];
    const hidden = isResource ? REFERENCE_KEYS : ["id"];
    const known = Object.keys(specifications).filter((name) => present.has(name) || (rows.length === 0 && !query.fields));
    const names = [...new Set(["name", ...chosen.filter((name) => present.has(name)),
        ...inOrder(known, specifications), ...present])];
    return names.filter((name) => name === "name" || chosen.includes(name) || !hidden.includes(name));
}

function isNumeric(specification, rows, name) {
    return /^(integer|number|float|double|time)$/.test(specification?.type ?? "") ||
        (!specification && rows.some((row) => typeof row?.[name] === "number"));
}

/**
 * A collection as a table, which can be shown anew with other rows: cells whose values stay the same keep
 * their place in the page, and with it the focus.
 */
export class CollectionTable {
    #open;
    #navigate;
    #rows = new Map();
    #shape = "";
    #columns = [];
    #head = make("thead");
    #body = make("tbody");
    #caption = make("caption");

    /** `navigate(address)` is called for a click on a heading. */
    constructor({ open, navigate }) {
        this.#open = open;
        this.#navigate = navigate;
        this.table = make("table", {}, this.#caption, this.#head, this.#body);
        this.node = make("div", { class: "scroller", role: "region", tabindex: "0" }, this.table);
    }

    /**
     * Shows `rows`. With `marksChanges` what is new or different since the last call is marked; the result
     * counts it: {changed, added, removed}.
     */
    show({ rows, address, specifications, title, marksChanges }) {
        const query = parseQuery(address);
        const columns = columnsOf(rows, specifications, query, segmentsOf(address).length === 2);
        this.#caption.textContent = title;
        this.node.setAttribute("aria-label", title);
        const counts = { changed: 0, added: 0, removed: 0 };
        keepingFocus(this.node, () => {
            this.#showHead(columns, rows, address, specifications, query);
            this.#showBody(rows, specifications, marksChanges, counts);
        });
        return counts;
    }

    #showHead(columns, rows, address, specifications, query) {
        const shape = JSON.stringify([columns, query.sort, specifications]);
        if (shape === this.#shape && this.#columns.length > 0) {
            this.#address = address;
            return;
        }
        this.#shape = shape;
        this.#address = address;
        this.#columns = columns.map((name) => ({ name, isNumeric: isNumeric(specifications[name], rows, name) }));
        this.#head.replaceChildren(make("tr", {}, this.#columns.map((column) =>
            this.#makeHeading(column, specifications[column.name], query.sort))));
        for (const row of this.#rows.values())
            row.source = null;
    }

    #address = "/";

    #makeHeading({ name, isNumeric }, specification, sort) {
        const rank = sort.findIndex((key) => key.name === name);
        const order = rank < 0 ? null : sort[rank].isDescending ? "descending" : "ascending";
        const sortBy = (event) => this.#navigate(withSortToggled(this.#address, name, event.shiftKey));
        return make("th", { scope: "col", class: isNumeric ? "numeric" : null, "aria-sort": rank === 0 ? order : null },
            make("button", {
                type: "button",
                class: "sort",
                title: [specification?.description, "Click to sort, with Shift to sort within."].filter(Boolean).join(" "),
                "data-focus": `sort ${name}`,
                "data-order": order,
                click: sortBy,
            }, name,
            rank >= 0 && sort.length > 1 ? make("sup", {}, String(rank + 1)) : null,
            rank > 0 && make("span", { class: "unseen" }, `, sort key ${rank + 1}, ${order}`)));
    }

    #showBody(rows, specifications, marksChanges, counts) {
        const before = this.#rows;
        this.#rows = new Map();
        const nodes = [];
        rows.forEach((source, index) => {
            const key = isObject(source) && source.id ? source.id : `#${index}`;
            const known = before.get(key);
            before.delete(key);
            const row = known ?? { node: make("tr"), source: null, opened: [] };
            row.node.classList.toggle("added", marksChanges && !known);
            if (marksChanges && !known)
                counts.added += 1;
            if (this.#showRow(row, source, specifications, marksChanges && known))
                counts.changed += 1;
            this.#rows.set(key, row);
            nodes.push(row.node, ...row.opened);
        });
        counts.removed = marksChanges ? before.size : 0;
        this.#place(nodes);
    }

    /** Moves only what stands elsewhere, since moving takes the focus away. */
    #place(nodes) {
        const wanted = new Set(nodes);
        for (const node of [...this.#body.children]) {
            if (!wanted.has(node))
                node.remove();
        }
        nodes.forEach((node, index) => {
            if (this.#body.children[index] !== node)
                this.#body.insertBefore(node, this.#body.children[index] ?? null);
        });
    }

    /** Whether anything in it has changed that is to be marked. */
    #showRow(row, source, specifications, marksChanges) {
        const isNew = row.source === null;
        let hasChanged = false;
        this.#columns.forEach(({ name, isNumeric }, index) => {
            const value = isObject(source) ? source[name] : index === 0 ? source : undefined;
            const isSameValue = !isNew && isSame(value, row.source[name]);
            row.node.children[index]?.classList.toggle("changed", Boolean(marksChanges && !isNew && !isSameValue));
            if (isSameValue)
                return;
            const cell = this.#makeCell(row, source, name, value, specifications[name], isNumeric, index === 0);
            if (row.node.children[index])
                row.node.children[index].replaceWith(cell);
            else
                row.node.append(cell);
            if (marksChanges && !isNew) {
                cell.classList.add("changed");
                hasChanged = true;
            }
        });
        while (row.node.children.length > this.#columns.length)
            row.node.lastChild.remove();
        row.source = isObject(source) ? source : {};
        return hasChanged;
    }

    #makeCell(row, source, name, value, specification, isNumeric, isFirst) {
        if (isFirst && isReference(source))
            return make("th", { scope: "row" }, makeLink(source.uri, nameOf(source), { "data-focus": `row ${source.uri}` }));
        const context = {
            attribute: name,
            specification,
            owner: source,
            open: (button, where) => this.#open(button, where, (opened) => this.#placeBelow(row, opened)),
        };
        return make("td", { class: isNumeric ? "numeric" : null }, makeValue(value, context));
    }

    /** Shows `opened` in a row of its own under `row`; gives a function that takes it away again. */
    #placeBelow(row, opened) {
        const below = make("tr", { class: "opened" },
            make("td", { colspan: String(this.#columns.length) }, opened));
        row.opened.push(below);
        row.node.after(...row.opened);
        return () => {
            below.remove();
            row.opened = row.opened.filter((other) => other !== below);
        };
    }
}

/** The address that shows the reference in `attribute` of the element at `uri` in full. */
export function expansionOf(uri, attribute) {
    return withQuery(uri, { fields: [{ name: attribute }], expand: attribute });
}
