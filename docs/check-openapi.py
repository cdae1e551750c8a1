#!/usr/bin/python3
"""Holds the description of the host service in OpenAPI against a running one.

Usage: check-openapi.py OPENAPI.yaml COMMAND      (COMMAND starts the service and makes it print where it listens)

The description must be well-formed, must describe every address that the service leads to and no method that it does
not allow, every query and every body must be described if it is taken and not if it is refused, and every answer that it
promises is provoked and must be as promised.
"""

import contextlib
import http.client
import json
import pathlib
import re
import sys
import urllib.parse

import jsonschema
import yaml

from running import Service

METHODS = ("get", "head", "post", "put", "delete")
TIMEOUT = 60
NOBODY = "00000000-0000-4000-8000-000000000000"
NOTE = json.dumps({"name": "Milk", "text": "Two bottles.", "pinned": True})
MAX_NOTES = 1000

# What the objects of a description may hold; those of schemas are the matter of JSON Schema.
KEYS = {
    "document": {"openapi", "info", "servers", "paths", "components"},
    "info": {"title", "version", "summary", "description"},
    "path": {"parameters", *METHODS},
    "operation": {"operationId", "summary", "parameters", "requestBody", "responses"},
    "parameter": {"name", "in", "required", "description", "style", "explode", "schema"},
    "header": {"description", "required", "schema"},
    "requestBody": {"required", "content"},
    "response": {"description", "headers", "content"},
    "content": {"schema"},
    "components": {"parameters", "headers", "requestBodies", "responses", "schemas"},
}

# Which attributes have which schemas.
TYPES = {
    "uuid": {"string"},
    "string": {"string", "enum"},
    "text": {"string"},
    "integer": {"integer"},
    "time": {"integer"},
    "boolean": {"boolean"},
    "array of string": {"array"},
    "reference": {"anyOf"},
}


class Wrong(Exception):
    """The description and the service do not agree, or the description is malformed."""


def require(condition, text):
    if not condition:
        raise Wrong(text)


def readings(text):
    """What a text in a query may stand for."""
    return [text, int(text)] if re.fullmatch(r"-?\d+", text) else [text]


class Description:
    """The file, read and tested for its form."""

    def __init__(self, path):
        self.document = yaml.safe_load(path.read_text(encoding="utf-8"))
        self.resolver = jsonschema.RefResolver.from_schema(self.document)
        self.used = set()
        self.check()

    def resolve(self, node):
        while "$ref" in node:
            self.used.add(node["$ref"])
            node = self.resolver.resolve(node["$ref"])[1]
        return node

    def operation(self, template, method):
        return self.document["paths"][template].get(method)

    def operations(self):
        for template, item in self.document["paths"].items():
            for method in METHODS:
                if method in item:
                    yield template, method, item[method]

    def response(self, operation, status):
        responses = operation["responses"]
        return self.resolve(responses.get(str(status)) or responses["default"])

    def validator(self, schema):
        return jsonschema.Draft202012Validator(schema, resolver=self.resolver)

    def takes(self, operation, query):
        """Whether each part of a query is one that the operation describes."""
        schemas = {node["name"]: node["schema"] for node in map(self.resolve, operation.get("parameters", []))}
        by_attribute = schemas.get("attributes", {}).get("additionalProperties", False)
        for name, text in urllib.parse.parse_qsl(query, keep_blank_values=True):
            schema = schemas.get(name, not name.startswith("$") and by_attribute)
            if not any(self.validator(schema).is_valid(value) for value in readings(text)):
                return False
        return True

    def takes_body(self, operation, text):
        """Whether a body, where there has to be one, is as the operation describes it."""
        if "requestBody" not in operation:
            return True
        schema = self.resolve(operation["requestBody"])["content"]["application/json"]["schema"]
        try:
            return self.validator(schema).is_valid(json.loads(text))
        except ValueError:
            return False

    def validate(self, value, schema, name):
        error = jsonschema.exceptions.best_match(self.validator(schema).iter_errors(value))
        require(not error, error and f"{name}: {error.message} at {error.json_path}")

    def check(self):
        require(re.fullmatch(r"3\.1\.\d", self.document["openapi"]), "not the version 3.1")
        self.check_keys(self.document, "document", "the document")
        self.check_keys(self.document["info"], "info", "info")
        self.check_keys(self.document["components"], "components", "components")
        for template, item in self.document["paths"].items():
            self.check_keys(item, "path", template)
        for template, method, operation in self.operations():
            self.check_operation(operation, self.document["paths"][template], f"{method} {template}")
        ids = [operation["operationId"] for _, _, operation in self.operations()]
        require(len(ids) == len(set(ids)), "two operations have one id")
        for name, schema in self.document["components"]["schemas"].items():
            self.check_schema(schema, name)
        self.check_references()

    def check_operation(self, operation, item, name):
        self.check_keys(operation, "operation", name)
        parameters = [self.resolve(node) for node in operation.get("parameters", []) + item.get("parameters", [])]
        for parameter in parameters:
            self.check_keys(parameter, "parameter", f"{name}: {parameter['name']}")
            self.check_schema(parameter["schema"], parameter["name"])
        in_path = {parameter["name"] for parameter in parameters if parameter["in"] == "path" and parameter["required"]}
        require(in_path == set(re.findall(r"{(\w+)}", name)), f"{name}: the parameters in its path")
        if "requestBody" in operation:
            body = self.resolve(operation["requestBody"])
            self.check_keys(body, "requestBody", name)
            self.check_content(body["content"], name)
        for status in operation["responses"]:
            require(re.fullmatch(r"[1-5]\d\d|default", status), f"{name}: {status} is no status")
            self.check_response(self.response(operation, status), f"{name}: {status}")

    def check_response(self, response, name):
        self.check_keys(response, "response", name)
        require("description" in response, f"{name}: no description")
        self.check_content(response.get("content", {}), name)
        for header in map(self.resolve, response.get("headers", {}).values()):
            self.check_keys(header, "header", name)
            self.check_schema(header["schema"], name)

    def check_content(self, content, name):
        for media_type, entry in content.items():
            self.check_keys(entry, "content", f"{name}: {media_type}")
            self.check_schema(entry["schema"], name)

    @staticmethod
    def check_keys(node, kind, name):
        require(set(node) <= KEYS[kind], f"{name}: {set(node) - KEYS[kind]} mean nothing")

    @staticmethod
    def check_schema(schema, name):
        try:
            jsonschema.Draft202012Validator.check_schema(schema)
        except jsonschema.SchemaError as error:
            raise Wrong(f"{name}: {error.message}") from error

    def check_references(self):
        """Every reference leads to something, and to every component leads one."""
        references = set(re.findall(r"#/components/\w+/\w+", json.dumps(self.document)))
        components = {
            f"#/components/{kind}/{name}" for kind, entries in self.document["components"].items() for name in entries
        }
        require(references == components, f"referred to or there, but not both: {references ^ components}")


class Client:
    """Asks the service and holds the answers against the description."""

    def __init__(self, description, address):
        self.description = description
        self.connection = http.client.HTTPConnection(address, timeout=TIMEOUT)
        self.seen = set()

    def send(self, method, url, body=None, headers=()):
        self.connection.request(method, url, body, dict(headers))
        with self.connection.getresponse() as response:
            return response.status, response.headers, response.read()

    def ask(self, method, template, status, url=None, body=None, headers=()):
        """Sends a request of an operation, which must be answered with this status and as described."""
        url = url or template
        actual, answer_headers, content = self.send(method.upper(), url, body, headers)
        name = f"{method} {url}"
        require(actual == status, f"{name}: {actual} and not {status}: {content[:200]}")
        operation = self.description.operation(template, method)
        self.seen.add((operation["operationId"], str(status)))
        if status in (200, 201, 400):
            query = urllib.parse.urlsplit(url).query
            is_described = self.description.takes(operation, query) and self.description.takes_body(operation, body)
            require(is_described == (status != 400), f"{name}: {status}, and described as the opposite")
        response = self.description.response(operation, status)
        self.check_headers(response, answer_headers, name)
        data = self.check_content(response, answer_headers, content, name)
        return data, answer_headers

    def check_headers(self, response, headers, name):
        for key, header in response.get("headers", {}).items():
            header = self.description.resolve(header)
            require(key in headers or not header.get("required"), f"{name}: no {key}")
            if key in headers:
                self.description.validate(headers[key], header["schema"], f"{name}: {key}")

    def check_content(self, response, headers, content, name):
        described = response.get("content", {})
        if not described:
            require(not content, f"{name}: a body that is not described")
            return None
        media_type = headers.get_content_type()
        require(media_type in described, f"{name}: {media_type} is not described")
        if media_type != "application/json":
            return None
        document = json.loads(content)
        self.description.validate(document, described[media_type]["schema"], name)
        return document.get("data")

    def ask_head(self, url):
        """The answer to HEAD is the head of that to GET."""
        _, headers, _ = self.send("GET", url)
        status, head, content = self.send("HEAD", url)
        require((status, content) == (200, b""), f"head {url}: {status} {content[:200]}")
        for key in ("Content-Type", "ETag", "Vary"):
            require(head[key] == headers[key], f"head {url}: another {key}")

    def ask_current(self, template, url):
        """A copy that is current is not sent again."""
        tag = self.ask("get", template, 200, url)[1]["ETag"]
        self.ask("get", template, 304, url, headers={"If-None-Match": tag})
        self.ask_head(url)


def check_service(client):
    """What is not about elements."""
    client.ask("get", "/", 200)
    for template, query in (("/", "?$fields=uri"), ("/host", "?$fields=name"), ("/host/accessrights", "")):
        client.ask_current(template, template + query)
    for template in ("/", "/host", "/host/accessrights"):
        client.ask("get", template, 400, template + "?$limit=many")
    client.ask("get", "/host", 200, "/host?$expand=1")
    client.ask("get", "/host/accessrights", 200, "/host/accessrights?$fields=/host")
    reserved = [template for template, _, _ in client.description.operations() if template.endswith(("/id", "/spec"))]
    for template in reserved:
        client.ask_current(template, template)
        client.ask("get", template, 400, template + "?$limit=1")


def check_files(client):
    template = "/cdn/explorer/{file}"
    page = "/cdn/explorer/index.html"
    client.ask_current(template, page)
    text = client.send("GET", page)[2].decode()
    for file in re.findall(r'(?:href|src)="([\w.-]+)"', text):
        client.ask("get", template, 200, f"/cdn/explorer/{file}")
    client.ask("get", template, 404, "/cdn/explorer/nothing.html")


# The schema of the elements of a resource, and an attribute that stays for as long as they do.
RESOURCES = {
    "processes": ("Process", "pid"),
    "interfaces": ("Interface", "mtu"),
    "filesystems": ("Filesystem", "type"),
    "notes": ("Note", "text"),
}


def check_resource(client, resource):
    """Every element of a resource, in every shape, and what is refused."""
    collection = f"/host/{resource}"
    element = collection + "/{id}"
    for expand in ("", "&$expand=0", "&$expand=1", "&$expand=3", "&$expand=parent"):
        elements = client.ask("get", collection, 200, f"{collection}?$limit=100{expand}")[0]
    client.ask("get", collection, 200)
    for query in ("$limit=0", "$limit=1", "$limit=-1&$offset=-1", "$offset=1", "$q=%25", "name=%25", "$sortby=-name"):
        client.ask("get", collection, 200, f"{collection}?{query}")
    client.ask("get", collection, 400, f"{collection}?$limit=many")
    field = RESOURCES[resource][1]
    # The process of the lowest number will not end; how many others there are would change the page of it.
    found = client.ask("get", collection, 200, f"{collection}?$limit=1&$sortby={field}")[0][0]
    first = found["uri"]
    client.ask("get", collection, 200, f"{collection}?$limit=1&$offset={found['id']}")
    value = urllib.parse.quote(str(found[field]))
    client.ask_current(collection, f"{collection}?{field}={value}&$fields={field}")
    client.ask_current(element, f"{first}?$fields={field}")
    client.ask("get", element, 200, f"{first}?$expand=3")
    client.ask("get", element, 400, f"{first}?$limit=many")
    client.ask("get", element, 404, f"{collection}/{NOBODY}")
    check_attributes(client, resource, elements)


def schema_kinds(schema, description):
    """What a schema of an attribute asks for."""
    if "anyOf" in schema:
        return {"anyOf"}
    if "enum" in schema:
        return {"enum"}
    return {description.resolve(schema)["type"]}


def check_attributes(client, resource, elements):
    """The description says of the attributes what the service itself says."""
    description = client.description
    told = client.ask("get", f"/host/{resource}/spec", 200)[0]["attributes"]
    properties = description.document["components"]["schemas"][RESOURCES[resource][0]]["properties"]
    require(set(told) == set(properties), f"{resource}: {set(told) ^ set(properties)}")
    for name, attribute in told.items():
        schema = properties[name]
        require(schema_kinds(schema, description) <= TYPES[attribute["type"]], f"{resource}: the type of {name}")
        is_optional = attribute.get("optional", False)
        require(schema.get("x-optional", False) == is_optional, f"{resource}: whether {name} is optional")
        require(is_optional or all(name in element for element in elements), f"{resource}: {name} is missing")


def check_writes(client):
    """Notes: made, replaced, removed, and all that is refused."""
    collection, element = "/host/notes", "/host/notes/{id}"
    for body in ({"name": "Milk"}, {"name": "Öl", "text": "", "pinned": False}):
        data, headers = client.ask("post", collection, 201, body=json.dumps(body))
        require(headers["Location"] == data["uri"], "the address of the new note")
    note = data["uri"]
    client.ask("put", element, 200, note, NOTE)
    for method, template, url in (("post", collection, collection), ("put", element, note)):
        for body in ("", "[]", "{}", '{"name":" "}', '{"name":"a","id":"b"}', json.dumps({"name": "a" * 201})):
            client.ask(method, template, 400, url, body)
        ask_without_length(client, method, template, url)
        client.ask(method, template, 413, url, json.dumps({"name": "a", "text": "b" * 1024 * 1024}))
        client.ask(method, template, 415, url, NOTE, {"Content-Encoding": "br"})
    for method, template, url in (("post", collection, collection), ("put", element, note), ("delete", element, note)):
        body = None if method == "delete" else NOTE
        client.ask(method, template, 403, url, body, {"Origin": "http://stranger.example"})
        client.ask(method, template, 412, url, body, {"If-Match": '"tag"'})
    check_resource(client, "notes")
    client.ask("delete", element, 200, note)
    client.ask("delete", element, 404, note)
    client.ask("put", element, 404, note, NOTE)


def ask_without_length(client, method, template, url):
    """A body whose end nobody tells."""
    client.connection.putrequest(method.upper(), url)
    client.connection.endheaders()
    with client.connection.getresponse() as response:
        require(response.status == 411, f"{method} {url}: {response.status} and not 411")
        operation = client.description.operation(template, method)
        client.seen.add((operation["operationId"], "411"))
        client.check_content(client.description.response(operation, 411), response.headers, response.read(), url)


def check_number_of_notes(client):
    count = 0
    while count <= MAX_NOTES and client.send("POST", "/host/notes", NOTE)[0] == 201:
        count += 1
    client.ask("post", "/host/notes", 409, body=NOTE)


def check_web_socket(client):
    handshake = {
        "Connection": "Upgrade",
        "Upgrade": "websocket",
        "Sec-WebSocket-Version": "13",
        "Sec-WebSocket-Key": "AAAAAAAAAAAAAAAAAAAAAA==",
    }
    client.ask("get", "/", 101, headers=handshake)
    client.connection.close()
    client.ask("get", "/", 426, headers={**handshake, "Sec-WebSocket-Version": "12"})


def check_refusals(client):
    """What is refused on every path."""
    client.ask("get", "/", 421, headers={"Host": "stranger.example"})
    client.ask("get", "/", 414, "/?" + "a" * 9000)
    for template in client.description.document["paths"]:
        url = template.replace("{id}", NOBODY).replace("{file}", "index.html")
        allowed = {method for method in METHODS if client.description.operation(template, method)} | {"head"}
        for method in set(METHODS) - allowed:
            status, headers, content = client.send(method.upper(), url, None if method == "delete" else NOTE)
            name = f"{method} {url}"
            require(status == 405, f"{name}: {status} and not 405")
            require(set(headers["Allow"].lower().split(", ")) == allowed, f"{name}: {headers['Allow']}")
            error = client.description.document["components"]["schemas"]["Error"]
            client.description.validate(json.loads(content), error, name)
        require(client.send("PATCH", url)[0] == 501, f"patch {url}")


def check_all_is_described(client):
    """The service leads to nothing that is not described, and allows no other methods than it says."""
    paths = client.description.document["paths"]
    for service in client.ask("get", "/", 200)[0]:
        data = client.ask("get", service["uri"], 200)[0]
        for resource in data["resources"]:
            for suffix in ("", "/id", "/spec", "/{id}"):
                require(resource["uri"] + suffix in paths, f"{resource['uri'] + suffix} is not described")
        for address, methods in client.ask("get", f"{service['uri']}/accessrights", 200)[0].items():
            described = {method for method in METHODS if method in paths[address.replace("<id>", "{id}")]} | {"head"}
            require(described == {method.lower() for method in methods}, f"{address}: {methods}")


def check_all_was_seen(client):
    promised = {
        (operation["operationId"], status)
        for _, _, operation in client.description.operations()
        for status in operation["responses"]
        if status != "default"
    }
    require(promised <= client.seen, f"promised and not provoked: {sorted(promised - client.seen)}")
    return len(promised)


def check_all(client):
    check_all_is_described(client)
    check_service(client)
    check_files(client)
    for resource in ("processes", "interfaces", "filesystems"):
        check_resource(client, resource)
    check_writes(client)
    check_number_of_notes(client)
    check_web_socket(client)
    check_refusals(client)
    return check_all_was_seen(client)


def main():
    try:
        description = Description(pathlib.Path(sys.argv[1]))
        with contextlib.closing(Service(sys.argv[2])) as service:
            count = check_all(Client(description, service.address))
    except Wrong as wrong:
        sys.exit(str(wrong))
    print(f"{count} answers are as described")


if __name__ == "__main__":
    main()
