#include "VtObjectRecords.h"
#include "VtPoolLayout.h"
#include "VtSeam.h"

#include <map>
#include <set>
#include <utility>
#include <vector>

using namespace IsoAgLib;

namespace IsoBusHost {

namespace {

using Object_t = const __IsoAgLib::vtObject_c*;
using Objects_t = std::vector<Object_t>;

// Each check returns a line about the first thing that is wrong, empty for none. A later one relies on those before.
using Problem_t = std::string;

std::string nameOf(Object_t object) {
  return vtLayoutOf(object->objectType())->name + (" " + std::to_string(object->getID()));
}

bool isList(const VtField_s& field) {
  return field.kind >= VtFieldKind_e::children;
}

// "the soft key mask of data mask 1100"; entries of lists count from 1: "child 2 of container 500".
std::string placeOf(const VtField_s& field, std::size_t index, Object_t object) {
  const std::string entry =
      isList(field) ? field.name + (" " + std::to_string(index + 1)) : "the " + std::string(field.name);
  return entry + " of " + nameOf(object);
}

Problem_t checkObject(Object_t object, std::size_t index) {
  const std::string place = "object " + std::to_string(index + 1) + " of the pool ";
  if (object == nullptr) {
    return place + "is null";
  }
  if (!object->hasRecord()) {
    return place + "has no attribute record";
  }
  if (vtLayoutOf(object->objectType()) == nullptr) {
    return place + "has the unknown type " + std::to_string(object->objectType());
  }
  if (object->getID() == noVtObject) {
    return place + "has the id that stands for no object";
  }
  return {};
}

Problem_t checkEachAlone(const Objects_t& objects) {
  for (std::size_t index = 0; index < objects.size(); ++index) {
    Problem_t problem = checkObject(objects[index], index);
    if (!problem.empty()) {
      return problem;
    }
  }
  return {};
}

Problem_t checkIDs(const Objects_t& objects) {
  std::set<uint16_t> seen;
  for (const Object_t object : objects) {
    if (!seen.insert(object->getID()).second) {
      return "the id " + std::to_string(object->getID()) + " is there twice";
    }
  }
  return {};
}

Problem_t checkWorkingSets(const Objects_t& objects) {
  std::size_t count = 0;
  for (const Object_t object : objects) {
    count += object->objectType() == VtWorkingSet ? 1 : 0;
  }
  if (count == 1) {
    return {};
  }
  return count == 0 ? "the pool has no working set" : "the pool has " + std::to_string(count) + " working sets";
}

// A list that is not there, or a text whose length does not fit into the pool.
Problem_t checkField(const VtField_s& field, Object_t object) {
  constexpr uint16_t longestText8 = 0xFF;
  const VtRecord_c record(object->get_vtObject_a());
  if (isList(field) && record.count(field) != 0 && record.at<const void*>(field.position) == nullptr) {
    return placeOf(field, 0, object) + " is not there: the list is null";
  }
  if (field.kind == VtFieldKind_e::text8 && record.at<uint16_t>(field.countPosition) > longestText8) {
    return "the text of " + nameOf(object) + " is longer than 255 bytes";
  }
  return {};
}

Problem_t checkFields(const Objects_t& objects) {
  for (const Object_t object : objects) {
    for (const VtField_s& field : *vtLayoutOf(object->objectType())) {
      Problem_t problem = checkField(field, object);
      if (!problem.empty()) {
        return problem;
      }
    }
  }
  return {};
}

// Places_t: the objects of the pool and their places in it. One that is not among them is never looked into.
using Places_t = std::map<const iVtObject_c*, std::size_t>;

Places_t placesOf(const Objects_t& objects) {
  Places_t places;
  for (std::size_t index = 0; index < objects.size(); ++index) {
    places[objects[index]] = index;
  }
  return places;
}

Problem_t checkReference(const VtField_s& field, const iVtObject_c* target, const Objects_t& objects,
                         const Places_t& places) {
  if (target == nullptr) {
    return field.mayBeEmpty ? "" : " is null";
  }
  const auto place = places.find(target);
  if (place == places.end()) {
    return " is not in the pool";
  }
  const Object_t object = objects[place->second];
  const bool mayStandThere = (field.types & vtTypes(object->objectType())) != 0;
  return mayStandThere ? "" : " may not be " + nameOf(object);
}

Problem_t checkReferences(const Objects_t& objects) {
  const Places_t places = placesOf(objects);
  Problem_t first;
  for (const Object_t object : objects) {
    forEachVtReference(*vtLayoutOf(object->objectType()), VtRecord_c(object->get_vtObject_a()),
                       [&](const VtField_s& field, std::size_t index, const iVtObject_c* target) {
                         Problem_t problem = checkReference(field, target, objects, places);
                         if (first.empty() && !problem.empty()) {
                           first = placeOf(field, index, object) + problem;
                         }
                       });
  }
  return first;
}

// Walk_c: goes from object to object along what they refer to, each once.
class Walk_c {
public:
  explicit Walk_c(const Objects_t& objects)
      : m_objects(objects), m_places(placesOf(objects)), m_states(objects.size()) {}

  // from: returns the object that the walk comes back to while it is still within it, null for none.
  Object_t from(std::size_t start) {
    enter(start);
    while (!m_way.empty()) {
      Step_s& step = m_way.back();
      if (step.next == step.targets.size()) {
        m_states[step.place] = State_e::done;
        m_way.pop_back();
        continue;
      }
      const std::size_t target = step.targets[step.next];
      step.next += 1;
      if (m_states[target] == State_e::open) {
        return m_objects[target];
      }
      enter(target);
    }
    return nullptr;
  }

private:
  enum class State_e { untouched, open, done };

  struct Step_s {
    std::size_t place;
    std::vector<std::size_t> targets;
    std::size_t next;
  };

  void enter(std::size_t place) {
    if (m_states[place] != State_e::untouched) {
      return;
    }
    m_states[place] = State_e::open;
    Step_s step = {place, {}, 0};
    const Object_t object = m_objects[place];
    forEachVtReference(*vtLayoutOf(object->objectType()), VtRecord_c(object->get_vtObject_a()),
                       [&](const VtField_s&, std::size_t, const iVtObject_c* target) {
                         if (target != nullptr) {
                           step.targets.push_back(m_places.at(target));
                         }
                       });
    m_way.push_back(std::move(step));
  }

  const Objects_t& m_objects;
  Places_t m_places;
  std::vector<State_e> m_states;
  std::vector<Step_s> m_way;
};

Problem_t checkLoops(const Objects_t& objects) {
  Walk_c walk(objects);
  for (std::size_t index = 0; index < objects.size(); ++index) {
    const Object_t object = walk.from(index);
    if (object != nullptr) {
      return nameOf(object) + " stands within itself";
    }
  }
  return {};
}

} // namespace

std::string checkVtPool(const iVtObjectPool_c& pool) {
  const Objects_t objects(pool.objects(), pool.objects() + pool.count());
  for (const auto check : {checkEachAlone, checkIDs, checkWorkingSets, checkFields, checkReferences, checkLoops}) {
    Problem_t problem = check(objects);
    if (!problem.empty()) {
      return problem;
    }
  }
  return {};
}

} // namespace IsoBusHost
