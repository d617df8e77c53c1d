// What the server is asked for.
import { authorization } from "./token.js";

/** Why something was not done, in the server's words. Its kind is the server's, or "no server" or "no token". */
export class Failure extends Error {
    constructor(text, kind) {
        super(text);
        this.kind = kind;
    }
}

/** A JSON document in which a number that JavaScript would round is the text of its digits. */
function parse(text) {
    if (!/\d{16}/.test(text)) {
        return JSON.parse(text);
    }
    return JSON.parse(text, (name, value, context) =>
        Number.isInteger(value) && !Number.isSafeInteger(value) ? context?.source ?? value : value);
}

async function request(path, options = {}) {
    let response;
    try {
        response = await fetch(path, { cache: "no-store", credentials: "omit", ...options,
            headers: { ...authorization(), ...options.headers } });
    } catch {
        throw new Failure("veskctl web does not answer", "no server");
    }
    if (response.ok || response.status === 304) {
        return response;
    }
    const text = (await response.text().catch(() => "")).trim();
    if (response.status === 403) {
        throw new Failure(text, "no token");
    }
    let problem = {};
    try {
        problem = parse(text);
    } catch {
        problem.error = text;
    }
    throw new Failure(problem.error || `${path}: ${response.status}`, problem.kind ?? "failed");
}

export async function getText(path) {
    return (await request(path)).text();
}

export async function getBlob(path) {
    return (await request(path)).blob();
}

export async function get(path) {
    return parse(await getText(path));
}

/** What changes now and then. */
export class Changing {
    #tag = null;
    #path = null;

    /** The answer, or null if it is what it was before. */
    async get(path) {
        const headers = this.#tag && path === this.#path ? { "If-None-Match": this.#tag } : {};
        const response = await request(path, { headers });
        if (response.status === 304) {
            return null;
        }
        this.#tag = response.headers.get("ETag");
        this.#path = path;
        return response;
    }

    async getDocument(path) {
        const response = await this.get(path);
        return response && parse(await response.text());
    }

    /** Next time, it counts as changed. */
    forget() {
        this.#tag = null;
    }
}

async function post(path, document) {
    const response = await request(path, {
        method: "POST",
        headers: { "Content-Type": "application/json" },
        body: JSON.stringify(document),
    });
    return parse(await response.text());
}

/** Steers the device by a command, the words after "veskctl device"; returns the answer. */
export async function steer(...words) {
    return (await post("/api/device", { words })).answer;
}

/** What the last of the words of such a command can be. */
export async function complete(words) {
    return (await post("/api/complete", { words })).completions;
}
