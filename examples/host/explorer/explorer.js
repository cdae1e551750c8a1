// The page: keeps the address bar, the forms and what is shown in step with each other.

import {
    DEFAULT_LIMIT, formatCurl, formatHash, pagesAround, parseHash, parseQuery, pathOf, repair, segmentsOf, withQuery,
} from "./query.js";
import { Directory, ServiceError, Subscription, read, write } from "./service.js";
import { CollectionTable, expansionOf, isObject, keepingFocus, make, makeCard, makeLink, makeNested, nameOf, formatBytes, formatTime } from "./views.js";
import { QueryForm, confirmDeletion, editElement, specificationsFor } from "./forms.js";

const $ = (id) => document.getElementById(id);
const PAGE_SIZES = [10, 25, 50, 100];

const directory = new Directory();

/** What is shown: the view of the address bar, the last answer, and what is known of the resource. */
const shown = { view: null, answer: null, specification: null, rights: null, data: null };
let loading = null;
let subscription = null;
let table = null;

// ---- where we are -------------------------------------------------------------------------------------------

function navigate(changes) {
    const hash = formatHash({ ...shown.view, ...changes });
    if (hash === location.hash)
        load();
    else
        location.hash = hash;
}

/** Takes over what the address bar says. */
function route() {
    const before = shown.view;
    const view = parseHash(location.hash);
    shown.view = view;
    showOptions();
    if (before && before.address === view.address && shown.answer) {
        showDocument();
        follow();
        return;
    }
    stopFollowing();
    draftAddress(view.address);
    showTree();
    load({ movesFocus: before !== null && pathOf(before.address) !== pathOf(view.address) });
}

/** The resource that the address belongs to, and whether it is one element of it. */
function place() {
    const [service, resource, element] = segmentsOf(shown.view.address);
    const isReserved = /^\$?(id|spec|accessrights)$/;
    return {
        service: isReserved.test(service ?? "") ? undefined : service,
        resource: isReserved.test(resource ?? "") ? undefined : resource,
        element: isReserved.test(element ?? "") ? undefined : element,
        isReserved: [service, resource, element].some((segment) => isReserved.test(segment ?? "")),
    };
}

// ---- the address and the query ------------------------------------------------------------------------------

const queryForm = new QueryForm($("query"), {
    onChange: (changes) => draftAddress(withQuery(draft(), changes), { isFromForm: true }),
    onAsk: () => ask(),
    onClear: () => navigate({ address: pathOf(draft()) }),
});

/** The address as it is written at the moment, asked or not. */
function draft() {
    return repair($("url").value, location.origin);
}

function draftAddress(address, { isFromForm = false, isFromHand = false } = {}) {
    if (!isFromHand)
        $("url").value = address;
    $("curl").textContent = formatCurl(location.origin, address);
    if (!isFromForm)
        showQuery(address);
}

function showQuery(address) {
    const isSamePlace = shown.view && pathOf(address) === pathOf(shown.view.address);
    queryForm.show(parseQuery(address), isSamePlace ? knownSpecifications() : {});
}

function ask() {
    navigate({ address: draft() });
}

function knownSpecifications() {
    const rows = Array.isArray(shown.data) ? shown.data : [shown.data];
    return specificationsFor(shown.specification, rows.filter(Boolean));
}

async function copyCurl() {
    const line = $("curl").textContent;
    try {
        await navigator.clipboard.writeText(line);
        announce("Copied");
        $("copy").dataset.done = "true";
        $("copy").addEventListener("blur", () => delete $("copy").dataset.done, { once: true });
    } catch {
        getSelection().selectAllChildren($("curl"));
        announce("The line is selected, ready to be copied");
    }
}

function announce(text) {
    $("status").textContent = text;
}

// ---- reading ------------------------------------------------------------------------------------------------

async function load({ movesFocus = false } = {}) {
    loading?.abort();
    const controller = new AbortController();
    loading = controller;
    $("view").setAttribute("aria-busy", "true");
    const background = tellOfResource();
    const answer = await read(shown.view.address, controller.signal).catch((failure) => failure);
    const known = await background;
    if (loading !== controller)
        return;
    Object.assign(shown, known);
    if (answer instanceof Error)
        showFailure(answer);
    else
        showAnswer(answer);
    loading = null;
    $("view").removeAttribute("aria-busy");
    if (movesFocus) {
        $("title").focus({ preventScroll: true });
        scrollTo(0, 0);
    }
    follow();
}

/** What the service tells of the resource, be there an answer or not. */
async function tellOfResource() {
    const { service, resource } = place();
    if (!service || !resource)
        return { specification: null, rights: null };
    const [specification, rights] = await Promise.all([
        directory.specification(service, resource), directory.rights(service, resource),
    ]);
    return { specification, rights };
}

function showAnswer(answer) {
    shown.answer = answer;
    hideFailure();
    showData(shown.answer.document);
    showHeading();
    showWriting();
    showDocument();
    if (draft() === shown.view.address)
        showQuery(shown.view.address);
    announce(summary());
}

/** `marked` is true where changes since the last data are to be marked; gives the count of them. */
function showData(document, marked = false) {
    const previous = marked ? shown.data : null;
    shown.data = document.data ?? null;
    const counts = Array.isArray(shown.data) ? showCollection(document, marked) : showElement(previous);
    showPages(document);
    return counts;
}

function showCollection(document, marked) {
    const path = pathOf(shown.view.address);
    if (!table || table.path !== path)
        table = Object.assign(new CollectionTable({ open: openInPlace, navigate: (address) => navigate({ address }) }), { path });
    const counts = table.show({
        rows: shown.data,
        address: shown.view.address,
        specifications: knownSpecifications(),
        title: summary(document),
        marksChanges: marked,
    });
    const empty = shown.data.length === 0 && makeEmpty(document.paging);
    keepingFocus($("view"), () => {
        if (empty)
            $("view").replaceChildren(empty);
        else if ($("view").firstChild !== table.node)
            $("view").replaceChildren(table.node);
    });
    return counts;
}

function makeEmpty(paging) {
    const query = parseQuery(shown.view.address);
    const total = paging?.total ?? 0;
    const text = query.limit === "0" ? `${total} in total.`
        : total > 0 ? `There are ${total}, but none on this page.`
        : query.searches.length > 0 || query.text ? "Nothing matches this query."
        : "There is nothing here yet.";
    const isSearch = query.searches.length > 0 || query.text || query.offset || query.limit === "0";
    return make("div", { class: "empty" }, make("p", {}, text),
        isSearch && make("p", {}, makeLink(pathOf(shown.view.address), "Show all", { "data-focus": "all" })));
}

function showElement(previous) {
    const before = isObject(previous) ? previous : null;
    const data = isObject(shown.data) ? shown.data : { value: shown.data };
    keepingFocus($("view"), () => $("view").replaceChildren(makeCard(data, knownSpecifications(), openInPlace, before)));
    const changed = before ? Object.keys(data).filter((name) => JSON.stringify(data[name]) !== JSON.stringify(before[name])) : [];
    return { changed: changed.length, added: 0, removed: 0 };
}

/** The place of the page in the collection, in words. */
function summary(document = shown.answer?.document) {
    const title = $("title").textContent;
    if (!Array.isArray(document?.data))
        return title;
    const { paging, data } = document;
    return `${titleOf(place())}: ${rangeOf(paging, data.length)}`;
}

function rangeOf(paging, count) {
    if (!paging)
        return count === 1 ? "1 element" : `${count} elements`;
    if (count === 0)
        return `none of ${paging.total}`;
    const first = paging.offset + 1;
    return `${count === 1 ? first : `${first}\u2013${first + count - 1}`} of ${paging.total}`;
}

// ---- heading, tree, document --------------------------------------------------------------------------------

function titleOf({ service, resource, element }) {
    const segments = segmentsOf(shown.view.address);
    if (element && isObject(shown.data))
        return nameOf(shown.data) || element;
    return element ?? resource ?? service ?? (segments.length > 0 ? segments.at(-1) : "Services");
}

function showHeading() {
    const here = place();
    const segments = segmentsOf(shown.view.address);
    const title = here.isReserved ? segments.join(" \u203A ") : titleOf(here);
    $("title").textContent = title;
    document.title = `${title} \u2013 Explorer`;
    const description = here.element ? "" : shown.specification?.description ?? shown.data?.description ?? "";
    $("description").replaceChildren(...[description && make("span", {}, description), makeSideways(here)].filter(Boolean));
    showCrumbs(segments, title);
}

/** Links to what stands beside the collection or the service. */
function makeSideways({ service, resource, element, isReserved }) {
    if (!service || element || isReserved)
        return null;
    const base = pathOf(shown.view.address).replace(/\/$/, "");
    const words = resource ? ["spec", "id"] : ["spec", "accessrights", "id"];
    return make("span", { class: "sideways" }, words.map((word) => makeLink(`${base}/${word}`, word)));
}

function showCrumbs(segments, title) {
    const links = [makeLink("/", "Services")];
    segments.forEach((segment, index) => {
        const path = "/" + segments.slice(0, index + 1).map(encodeURIComponent).join("/");
        links.push(makeLink(path, segment));
    });
    const last = links.at(-1);
    last.setAttribute("aria-current", "page");
    last.textContent = segments.length === 3 && !place().isReserved ? title : last.textContent;
    $("crumbs").replaceChildren(...links.map((link) => make("li", {}, link)));
}

async function showTree() {
    const services = await directory.services() ?? [];
    const branches = await Promise.all(services.map(async (service) => ({
        service, resources: (await directory.service(service.name))?.resources ?? [],
    })));
    const { service: here, resource } = place();
    const makeEntry = ({ uri, name }, isHere) =>
        makeLink(uri, name, { "aria-current": isHere ? "page" : null, "data-focus": `tree ${uri}` });
    const isSame = (left, right) => left?.toLowerCase() === right?.toLowerCase();
    keepingFocus($("tree"), () => $("services").replaceChildren(
        make("li", {}, makeEntry({ uri: "/", name: "All services" }, !here)),
        ...branches.map(({ service, resources }) => make("li", {},
            makeEntry(service, isSame(service.name, here) && !resource),
            resources.length > 0 && make("ul", {}, resources.map((entry) => make("li", {},
                makeEntry(entry, isSame(service.name, here) && isSame(entry.name, resource)))))))));
}

function showOptions() {
    const { isLive, showsDocument } = shown.view;
    $("live").setAttribute("aria-pressed", String(isLive));
    $("show-document").setAttribute("aria-pressed", String(showsDocument));
    if (!isLive)
        showConnection(null);
}

function showDocument() {
    const answer = shown.answer;
    $("document").hidden = !shown.view.showsDocument || !answer;
    if ($("document").hidden)
        return;
    $("document-facts").textContent = [
        `${answer.status} ${answer.reason}`.trim(),
        answer.text && formatBytes(new TextEncoder().encode(answer.text).length),
        answer.duration !== undefined && `${Math.max(1, Math.round(answer.duration))} ms`,
    ].filter(Boolean).join(" \u00B7 ");
    $("document-text").textContent = answer.document ? JSON.stringify(answer.document, null, 2) : answer.text;
}

// ---- pages --------------------------------------------------------------------------------------------------

function showPages({ data, paging }) {
    const isCollection = Array.isArray(data) && place().service !== undefined;
    $("pages").hidden = !isCollection || data.length === 0 && !paging?.limit;
    if ($("pages").hidden)
        return;
    const around = pagesAround(paging, data.length);
    const isOnlyOne = Object.values(around).every((offset) => offset === null);
    const names = [["first", "First"], ["previous", "Previous"], ["next", "Next"], ["last", "Last"]];
    keepingFocus($("pages"), () => $("pages").replaceChildren(...[
        make("p", { class: "range" }, rangeOf(paging, data.length)),
        !isOnlyOne && make("ul", {}, names.map(([name, text]) => make("li", {}, makePageLink(name, text, around[name])))),
        makePageSize(),
    ].filter(Boolean)));
}

function makePageLink(name, text, offset) {
    const properties = { rel: name === "next" ? "next" : name === "previous" ? "prev" : null, "data-focus": `page ${name}` };
    if (offset === null)
        return make("a", { ...properties, role: "link", "aria-disabled": "true", tabindex: "0" }, text);
    const address = withQuery(shown.view.address, { offset: String(offset) });
    return make("a", { ...properties, href: formatHash({ ...shown.view, address }) }, text);
}

function makePageSize() {
    const current = parseQuery(shown.view.address).limit || String(DEFAULT_LIMIT);
    const sizes = [...new Set([...PAGE_SIZES.map(String), current])];
    const select = make("select", {
        "data-focus": "page size",
        change: () => navigate({ address: withQuery(shown.view.address, { limit: select.value, offset: "" }) }),
    }, sizes.map((size) => make("option", { value: size, selected: size === current }, size)));
    return make("label", { class: "size" }, "Page size ", select);
}

// ---- references that open in place --------------------------------------------------------------------------

/**
 * Opens or closes the reference at `button`. `placeBelow` puts a node where it fits, and gives the function
 * that takes it away; without it the node comes behind the reference.
 */
async function openInPlace(button, { owner, attribute }, placeBelow = placeBehind(button)) {
    if (button.closeOpened) {
        button.closeOpened();
        button.closeOpened = null;
        button.setAttribute("aria-expanded", "false");
        return;
    }
    if (button.getAttribute("aria-busy") === "true")
        return;
    button.setAttribute("aria-busy", "true");
    const node = await read(expansionOf(owner.uri, attribute))
        .then(({ document }) => makeOpened(document.data?.[attribute]), (failure) => make("p", { class: "fault" }, failure.message));
    button.removeAttribute("aria-busy");
    if (!button.isConnected)
        return;
    node.setAttribute("role", "group");
    node.setAttribute("aria-label", button.getAttribute("aria-label").replace(/^Open | here$/g, ""));
    button.closeOpened = placeBelow(node);
    button.setAttribute("aria-expanded", "true");
    announce(node.getAttribute("aria-label") + " is open");
}

function makeOpened(value) {
    if (!isObject(value))
        return make("p", { class: "hint" }, "The reference is gone.");
    const isBare = Object.keys(value).every((key) => ["id", "name", "uri"].includes(key));
    return isBare ? make("p", { class: "hint" }, "The service gives no more of it than its name.")
        : makeNested(value, { specifications: knownSpecifications(), open: openInPlace });
}

function placeBehind(button) {
    return (node) => {
        button.closest(".reference").after(node);
        return () => node.remove();
    };
}

// ---- failures -----------------------------------------------------------------------------------------------

function showFailure(failure) {
    const isKnown = failure instanceof ServiceError;
    const title = !isKnown ? "Something went wrong" : failure.status === 0 ? "No answer" : String(failure.status);
    stopFollowing();
    Object.assign(shown, { answer: isKnown ? failure.answer : null, data: null });
    table = null;
    $("view").replaceChildren();
    $("pages").hidden = true;
    showHeading();
    showWriting();
    showDocument();
    showQuery(draft());
    $("failure").hidden = false;
    $("failure").replaceChildren(make("strong", {}, title), make("p", {}, failure.message),
        make("button", { type: "button", click: () => load() }, "Try again"));
    announce("");
}

function hideFailure() {
    $("failure").hidden = true;
    $("failure").replaceChildren();
}

// ---- live ---------------------------------------------------------------------------------------------------

function follow() {
    const { address, isLive } = shown.view;
    if (!isLive || !shown.answer || shown.data === null) {
        if (!isLive)
            stopFollowing();
        return;
    }
    if (subscription?.address === address)
        return;
    stopFollowing();
    subscription = Object.assign(new Subscription(address, {
        connecting: () => {},
        live: () => showConnection("live", "Live", "Live"),
        data: (message) => showUpdate(message),
        lost: (delay) => showConnection("lost", `Connection lost. Trying again in ${Math.ceil(delay / 1000)} s.`, "Connection lost"),
        refused: (code, message) => showRefusal(code, message),
    }), { address });
    showConnection("connecting", "Connecting\u2026", "");
}

function stopFollowing() {
    subscription?.close();
    subscription = null;
    showConnection(null);
}

function showUpdate(message) {
    const isFirst = !$("connection").dataset.hasData;
    const counts = showData(message, true);
    shown.answer = { ...shown.answer, document: message, text: "", duration: undefined, reason: "over the WebSocket" };
    showHeading();
    showDocument();
    const what = [
        counts.changed && `${counts.changed} changed`, counts.added && `${counts.added} new`, counts.removed && `${counts.removed} gone`,
    ].filter(Boolean).join(", ");
    showConnection("live", ["Live", formatTime(message.timestamp ?? Date.now()).slice(11), what].filter(Boolean).join(" \u00B7 "), null);
    $("connection").dataset.hasData = "true";
    if (isFirst)
        announce("Live");
}

function showRefusal(code, message) {
    subscription = null;
    showConnection("refused", `Not live any more: ${message} (${code})`, `Not live any more: ${message}`);
}

/** `spoken` is what a screen reader is told if the state is another one than before. */
function showConnection(state, text = "", spoken = null) {
    const box = $("connection");
    if (spoken && box.dataset.state !== state)
        announce(spoken);
    box.hidden = state === null;
    box.dataset.state = state ?? "";
    if (state === null)
        delete box.dataset.hasData;
    $("connection-text").textContent = text;
    $("reconnect").hidden = state !== "lost";
    $("live").dataset.state = state ?? "";
    $("view").classList.toggle("stale", state === "lost");
}

// ---- writing ------------------------------------------------------------------------------------------------

function showWriting() {
    const { element, resource } = place();
    const rights = shown.rights ?? { collection: [], element: [] };
    const isThere = shown.data !== null && Boolean(resource);
    $("new").hidden = !isThere || Boolean(element) || !rights.collection.includes("POST");
    $("edit").hidden = !isThere || !element || !rights.element.includes("PUT");
    $("delete").hidden = !isThere || !element || !rights.element.includes("DELETE");
}

function create() {
    const path = pathOf(shown.view.address);
    editElement($("dialog"), {
        title: `New in ${titleOf(place())}`,
        specifications: shown.specification?.attributes ?? {},
        element: null,
        save: async (body) => {
            const answer = await write("POST", path, body);
            const created = answer.location ? new URL(answer.location, location.origin).pathname : path;
            navigate({ address: created });
            announce("Created");
        },
    });
}

async function edit() {
    const path = pathOf(shown.view.address);
    const whole = await read(path).catch((failure) => failure);
    if (whole instanceof Error) {
        showFailure(whole);
        return;
    }
    editElement($("dialog"), {
        title: `Edit ${titleOf(place())}`,
        specifications: shown.specification?.attributes ?? {},
        element: whole.document.data,
        save: async (body) => {
            await write("PUT", path, body);
            await load();
            announce("Saved");
        },
    });
}

function remove() {
    const path = pathOf(shown.view.address);
    confirmDeletion($("dialog"), {
        name: titleOf(place()),
        remove: async () => {
            await write("DELETE", path);
            navigate({ address: path.slice(0, path.lastIndexOf("/")) });
            announce("Deleted");
        },
    });
}

// ---- start --------------------------------------------------------------------------------------------------

function toggleForm() {
    const isOpen = $("query").hidden;
    $("query").hidden = !isOpen;
    $("ask-by-form").setAttribute("aria-expanded", String(isOpen));
    if (isOpen)
        $("query").querySelector("input")?.focus();
}

function toggleMenu(isOpen = $("menu").getAttribute("aria-expanded") !== "true") {
    $("menu").setAttribute("aria-expanded", String(isOpen));
}

function listen() {
    $("address").addEventListener("submit", (event) => {
        event.preventDefault();
        ask();
    });
    $("url").addEventListener("input", () => draftAddress(draft(), { isFromHand: true }));
    $("skip").addEventListener("click", (event) => {
        event.preventDefault();
        $("title").focus();
    });
    const onClick = {
        copy: copyCurl, "ask-by-form": toggleForm, refresh: () => load(), reconnect: () => subscription?.retry(),
        new: create, edit, delete: remove, menu: () => toggleMenu(),
        live: () => navigate({ isLive: !shown.view.isLive }),
        "show-document": () => navigate({ showsDocument: !shown.view.showsDocument }),
    };
    for (const [id, act] of Object.entries(onClick))
        $(id).addEventListener("click", () => act());
    $("tree").addEventListener("click", (event) => event.target.closest("a") && toggleMenu(false));
    window.addEventListener("hashchange", route);
}

$("host").textContent = location.host;
listen();
route();
