// What goes over the wire: documents over HTTP, and subscriptions over a WebSocket.

import { decode } from "./query.js";

/** An answer that is no success, or none at all; `status` is 0 then. */
export class ServiceError extends Error {
    constructor(status, message, answer = null) {
        super(message);
        this.status = status;
        this.answer = answer;
    }
}

function parse(text) {
    try {
        return text ? JSON.parse(text) : null;
    } catch {
        return null;
    }
}

async function exchange(address, options) {
    const begin = performance.now();
    let response, text;
    try {
        response = await fetch(address, { cache: "no-store", redirect: "error", ...options });
        text = await response.text();
    } catch (failure) {
        if (failure.name === "AbortError")
            throw failure;
        throw new ServiceError(0, "The service cannot be reached.");
    }
    return {
        status: response.status,
        reason: response.statusText,
        location: response.headers.get("Location"),
        document: parse(text),
        text,
        duration: performance.now() - begin,
    };
}

function requireSuccess(answer) {
    if (answer.status >= 400)
        throw new ServiceError(answer.status, answer.document?.message || answer.reason, answer);
    return answer;
}

/** The answer to a GET. Throws `ServiceError`, or an AbortError when `signal` says so. */
export async function read(address, signal) {
    const answer = requireSuccess(await exchange(address, { signal }));
    if (!answer.document || typeof answer.document !== "object")
        throw new ServiceError(answer.status, "The answer is no document.", answer);
    return answer;
}

/** The answer to a POST, PUT or DELETE. Throws `ServiceError`. */
export async function write(method, address, body) {
    const content = body === undefined
        ? {} : { body: JSON.stringify(body), headers: { "Content-Type": "application/json; charset=utf-8" } };
    return requireSuccess(await exchange(address, { method, ...content }));
}

/** What a service tells of itself: read once and kept, nothing where it does not tell. */
export class Directory {
    #documents = new Map();

    #data(address) {
        if (!this.#documents.has(address)) {
            const data = read(address).then((answer) => answer.document.data, (failure) => {
                if (failure.status === 0 || failure.status >= 500)
                    this.#documents.delete(address);
                return null;
            });
            this.#documents.set(address, data);
        }
        return this.#documents.get(address);
    }

    services() {
        return this.#data("/");
    }

    service(name) {
        return this.#data(`/${encodeURIComponent(name)}`);
    }

    specification(service, resource) {
        return this.#data(`/${encodeURIComponent(service)}/${encodeURIComponent(resource)}/spec`);
    }

    /** The methods that a collection and its elements allow: {collection: [...], element: [...]}. */
    async rights(service, resource) {
        const rights = await this.#data(`/${encodeURIComponent(service)}/accessrights`) ?? {};
        const uri = Object.keys(rights).find((key) => decode(key) === `/${service}/${resource}`);
        return { collection: rights[uri] ?? [], element: rights[`${uri}/<id>`] ?? [] };
    }

    forget() {
        this.#documents.clear();
    }
}

const FIRST_DELAY = 500;
const LONGEST_DELAY = 30_000;

/** Milliseconds to wait before the next attempt: twice as long each time, and not for all clients the same. */
export function delayAfter(failures, random = Math.random()) {
    return Math.min(LONGEST_DELAY, FIRST_DELAY * 2 ** (failures - 1)) * (0.75 + random / 2);
}

/**
 * One address followed over a WebSocket, until it is closed. It comes back by itself when the connection is
 * lost; what the service refuses is final.
 *
 * `listener` is told `connecting()`, `live()`, `data(document)`, `lost(milliseconds to the next attempt)` and
 * `refused(code, message)`.
 */
export class Subscription {
    #address;
    #listener;
    #updateLimit;
    #socket = null;
    #timer = null;
    #failures = 0;

    constructor(address, listener, updateLimit = 1000) {
        this.#address = address;
        this.#listener = listener;
        this.#updateLimit = updateLimit;
        this.retry = this.retry.bind(this);
        globalThis.addEventListener("online", this.retry);
        this.#connect();
    }

    close() {
        globalThis.removeEventListener("online", this.retry);
        clearTimeout(this.#timer);
        this.#drop();
    }

    /** Tries again at once, if it is waiting to do so. */
    retry() {
        if (this.#timer === null)
            return;
        clearTimeout(this.#timer);
        this.#connect();
    }

    #drop() {
        const socket = this.#socket;
        this.#socket = null;
        this.#timer = null;
        socket?.close();
    }

    #connect() {
        this.#timer = null;
        this.#listener.connecting();
        const socket = new WebSocket(location.origin.replace(/^http/, "ws") + "/");
        this.#socket = socket;
        const whileCurrent = (handle) => (event) => socket === this.#socket && handle(event);
        socket.addEventListener("open", whileCurrent(() => this.#subscribe()));
        socket.addEventListener("message", whileCurrent((event) => this.#receive(parse(event.data))));
        socket.addEventListener("close", whileCurrent(() => this.#wait()));
    }

    #subscribe() {
        this.#socket.send(JSON.stringify({
            type: "subscribe", event: this.#address, updatelimit: this.#updateLimit,
        }));
    }

    #receive(message) {
        if (message?.type === "error") {
            this.close();
            this.#listener.refused(message.code, message.message);
        } else if (message?.type === "subscribe") {
            this.#failures = 0;
            this.#listener.live();
        } else if (message?.type === "data") {
            this.#listener.data(message);
        }
    }

    #wait() {
        this.#socket = null;
        this.#failures += 1;
        const delay = delayAfter(this.#failures);
        this.#timer = setTimeout(() => this.#connect(), delay);
        this.#listener.lost(delay);
    }
}
