// Addresses and the query language: between the text of an address and what a form shows of it. Nothing in
// here knows of a page.

export const DEFAULT_LIMIT = 25;

const FIELD = /^([^(]+)(?:\(\$offset:([0-9A-Fa-f-]+),\$limit:([0-9-]+)\))?$/;
const UNPAIRED_SURROGATE = /[\uD800-\uDBFF](?![\uDC00-\uDFFF])|(?<![\uD800-\uDBFF])[\uDC00-\uDFFF]/g;

/** Percent-encodes a key or value of a query, but leaves readable what need not be encoded. */
export function encode(text) {
    return encodeURIComponent(text.replace(UNPAIRED_SURROGATE, "\uFFFD"))
        .replace(/%(24|2C|3A|2F)/g, (escape) => decodeURIComponent(escape))
        .replace(/'/g, "%27");
}

/** Undoes the encoding of a key or value; gives the text itself where it is not well encoded. */
export function decode(text) {
    try {
        return decodeURIComponent(text.replace(/\+/g, " "));
    } catch {
        return text;
    }
}

function cut(text, separator) {
    const at = text.indexOf(separator);
    return at < 0 ? [text, ""] : [text.slice(0, at), text.slice(at + separator.length)];
}

/**
 * Makes an address of what was typed by hand: what cannot stand in an address is encoded, all else stays as it
 * is. An address of `origin` loses its origin. The result always begins with exactly one slash, so that it
 * never leads to another host.
 */
export function repair(text, origin = "") {
    let address = text.trim();
    if (origin && address.startsWith(origin))
        address = address.slice(origin.length);
    address = address
        .replace(UNPAIRED_SURROGATE, "\uFFFD")
        .replace(/%(?![0-9A-Fa-f]{2})/g, "%25")
        .replace(/[^\w.~!$&()*+,;=:@/?%-]/gu, (character) => (character === "'" ? "%27" : encodeURIComponent(character)));
    const [path, query] = cut(address, "?");
    const url = new URL("http://x/" + path.replace(/^\/+/, ""));
    return url.pathname.replace(/^\/+/, "/") + (query ? "?" + query : "");
}

/** The address of the page's hash, which also says how to look at it: "#live,document:/host?$limit=5". */
export function parseHash(hash) {
    const match = /^#(?:([a-z,]*):)?(\/.*)$/.exec(hash);
    const options = match && match[1] ? match[1].split(",") : [];
    return {
        address: match ? repair(match[2]) : "/",
        isLive: options.includes("live"),
        showsDocument: options.includes("document"),
    };
}

export function formatHash({ address, isLive = false, showsDocument = false }) {
    const options = [isLive && "live", showsDocument && "document"].filter(Boolean).join(",");
    return "#" + (options && options + ":") + address;
}

/** The parts of the path, decoded, without the prefix of the interface's version. */
export function segmentsOf(address) {
    const [path] = cut(address, "?");
    return path
        .replace(/^\/api\/v1\//, "/")
        .split("/")
        .filter(Boolean)
        .map(decode);
}

export function pathOf(address) {
    return cut(address, "?")[0];
}

function parseFields(text) {
    if (!text)
        return [];
    return text.split(/,(?![^(]*\))/).filter(Boolean).map((part) => {
        const match = FIELD.exec(part);
        if (!match)
            return { name: part };
        return match[2] === undefined ? { name: match[1] } : { name: match[1], offset: match[2], limit: match[3] };
    });
}

function formatField({ name, offset = "", limit = "" }) {
    if (offset === "" && limit === "")
        return name;
    return `${name}($offset:${offset === "" ? 0 : offset},$limit:${limit === "" ? DEFAULT_LIMIT : limit})`;
}

function parseSort(text) {
    return text.split(",").filter(Boolean).map((part) =>
        part.startsWith("-") ? { name: part.slice(1), isDescending: true } : { name: part, isDescending: false });
}

function formatSort(keys) {
    return keys.map(({ name, isDescending }) => (isDescending ? "-" : "") + name).join(",");
}

function emptyQuery() {
    // `fields` is null where the address does not choose any; `others` are pairs that no part of a form shows.
    return { searches: [], text: "", sort: [], fields: null, expand: "", limit: "", offset: "", others: [] };
}

/** Reads the query of an address. Where a key stands twice the first counts, the rest goes to `others`. */
export function parseQuery(address) {
    const query = emptyQuery();
    const seen = new Set();
    const readers = {
        $q: (value) => (query.text = value),
        $sortby: (value) => (query.sort = parseSort(value)),
        $fields: (value) => (query.fields = parseFields(value)),
        $expand: (value) => (query.expand = value),
        $limit: (value) => (query.limit = value),
        $offset: (value) => (query.offset = value),
    };
    for (const pair of cut(address, "?")[1].split("&").filter(Boolean)) {
        const [key, value] = cut(pair, "=").map(decode);
        if (!Object.hasOwn(readers, key))
            query.searches.push({ name: key, value });
        else if (seen.has(key))
            query.others.push({ name: key, value });
        else
            readers[key](value);
        seen.add(key);
    }
    return query;
}

/** The address at `path` with this query. What is empty is left out. */
export function formatAddress(path, query) {
    const { searches, text, sort, fields, expand, limit, offset, others } = { ...emptyQuery(), ...query };
    const pairs = searches.map(({ name, value }) => [name, value]);
    for (const [key, value] of [
        ["$q", text],
        ["$sortby", formatSort(sort)],
        ["$fields", fields && fields.map(formatField).join(",")],
        ["$expand", expand],
        ["$limit", limit],
        ["$offset", offset],
    ]) {
        if (value !== "" && value !== null)
            pairs.push([key, String(value)]);
    }
    pairs.push(...others.map(({ name, value }) => [name, value]));
    const written = pairs.map(([key, value]) => `${encode(key)}=${encode(value)}`).join("&");
    return path + (written && "?" + written);
}

/** The same address with some parts of its query replaced. */
export function withQuery(address, changes) {
    return formatAddress(pathOf(address), { ...parseQuery(address), ...changes });
}

/**
 * The address that a click on the heading of `name` leads to: ascending, descending, and then not sorted by it.
 * `keepsOthers` leaves the other sort keys in place.
 */
export function withSortToggled(address, name, keepsOthers) {
    const sort = parseQuery(address).sort;
    const key = sort.find((candidate) => candidate.name === name);
    const next = !key ? [{ name, isDescending: false }] : key.isDescending ? [] : [{ name, isDescending: true }];
    const changed = !keepsOthers ? next
        : key ? sort.flatMap((candidate) => (candidate === key ? next : [candidate]))
        : [...sort, ...next];
    return withQuery(address, { sort: changed, offset: "" });
}

function pagesForward(limit, { offset, total }) {
    const last = offset + Math.floor((total - 1 - offset) / limit) * limit;
    return {
        first: offset > 0 ? 0 : null,
        previous: offset > 0 ? Math.max(0, offset - limit) : null,
        next: offset + limit < total ? offset + limit : null,
        last: last > offset ? last : null,
    };
}

/** A page that runs backward is named by its last element, and the first page is the end of the list. */
function pagesBackward(size, { offset, total }, count) {
    const end = offset + count;
    return {
        first: end < total ? -1 : null,
        previous: end < total ? Math.min(total - 1, end - 1 + size) : null,
        next: offset > 0 ? offset - 1 : null,
        last: offset > 0 ? ((offset - 1) % size) : null,
    };
}

/**
 * Where the other pages begin, as values for "$offset", null where there is none. They are worked out here
 * rather than taken from the links of the document, which are not encoded.
 */
export function pagesAround(paging, count) {
    const nowhere = { first: null, previous: null, next: null, last: null };
    if (!paging || !paging.limit)
        return nowhere;
    if (count === 0)
        return { ...nowhere, first: paging.total > 0 ? 0 : null };
    return paging.limit > 0 ? pagesForward(paging.limit, paging) : pagesBackward(-paging.limit, paging, count);
}

/** A line for a shell that asks the same. */
export function formatCurl(origin, address) {
    return `curl -s '${origin}${address}'`;
}
