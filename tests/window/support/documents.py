"""Writes documents by hand and reads saved ones."""

import json
import uuid

KEYBOARD, PADS, SEQUENCER = 1001, 1002, 1003
SYNTH, DRUMS, RECORDER = 2001, 2002, 2003
NAMES = {KEYBOARD: "Demo Keyboard", PADS: "Demo Pads", SEQUENCER: "Demo Sequencer",
         SYNTH: "Demo Synth", DRUMS: "Demo Drums", RECORDER: "Demo Recorder"}


def _id():
    return str(uuid.uuid4()).upper()


def _mode(channel):
    return {"asIs": {}} if channel is None else {"force": {"_0": channel}}


def shortcut(key, *modifiers):
    return {"key": key, "modifiers": list(modifiers)}


def connection(source, destination, *assignments, active=0, enabled=True, source_name=None, destination_name=None):
    """A connection with assignments as (channel or None for "As Is", shortcut or None)."""
    labels = {"sourceID": source, "sourceName": source_name or NAMES.get(source, "Source"),
              "destinationID": destination, "destinationName": destination_name or NAMES.get(destination, "Output")}
    variants = []
    for channel, keys in assignments or ((None, None),):
        variant = {"id": _id(), "name": "As Is" if channel is None else f"Ch {channel}", "channelMode": _mode(channel),
                   **labels}
        if keys is not None:
            variant["shortcut"] = keys
        variants.append(variant)
    return {"id": _id(), **labels, "channelMode": variants[active]["channelMode"], "isEnabled": enabled,
            "variants": variants, "activeVariantID": variants[active]["id"]}


def document(*sets, current=0):
    """A document with sets as (name, connections)."""
    made = [{"id": _id(), "name": name, "routes": list(connections)} for name, connections in sets]
    return {"routeSets": made, "selectedSetID": made[current]["id"]}


class SavedDocument:
    """The document that is on disk now."""

    def __init__(self, path):
        with open(path, encoding="utf-8") as file:
            self.json = json.load(file)

    @property
    def set_names(self):
        return [routes["name"] for routes in self.json["routeSets"]]

    @property
    def current_set(self):
        return next(routes for routes in self.json["routeSets"] if routes["id"] == self.json["selectedSetID"])

    @property
    def current_set_name(self):
        return self.current_set["name"]

    @property
    def connections(self):
        """The connections of the current set, as (source, destination)."""
        return [(route["sourceID"], route["destinationID"]) for route in self.current_set["routes"]]

    @property
    def enabled(self):
        return [route["isEnabled"] for route in self.current_set["routes"]]

    @property
    def channels(self):
        """The channel mode of each connection of the current set: a channel, or None for "As Is"."""
        return [_channel(route["channelMode"]) for route in self.current_set["routes"]]

    def assignments(self, index):
        """The assignments of a connection of the current set, as (channel, shortcut)."""
        return [(_channel(variant["channelMode"]), variant.get("shortcut"))
                for variant in self.current_set["routes"][index]["variants"]]


def _channel(mode):
    return mode["force"]["_0"] if "force" in mode else None
